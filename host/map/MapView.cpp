#include "host/map/MapView.hpp"

#include <algorithm>
#include <cmath>

namespace orvo::host::map {
namespace {

// Web Mercator stops short of the poles.
constexpr double kMaxLatitudeDegrees = 85.0511287798;
// Larger than any screen; a bigger number is a broken page.
constexpr int kLargestMapPixels = 100000;

double WrappedLongitude(double longitudeDegrees) {
  const double wrapped = std::remainder(longitudeDegrees, 360.0);
  return wrapped == -180.0 ? 180.0 : wrapped;
}

}  // namespace

MapView::MapView(ui::Desktop& desktop) : desktop_(desktop) {}

void MapView::SetInitialView(double latitudeDegrees, double longitudeDegrees, double zoom) {
  state_.centreLatitudeDegrees =
      std::clamp(latitudeDegrees, -kMaxLatitudeDegrees, kMaxLatitudeDegrees);
  state_.centreLongitudeDegrees = WrappedLongitude(longitudeDegrees);
  state_.zoom = std::clamp(zoom, kMinZoom, kMaxZoom);
}

void MapView::GoTo(double latitudeDegrees, double longitudeDegrees, std::optional<double> zoom) {
  if (!std::isfinite(latitudeDegrees) || !std::isfinite(longitudeDegrees) ||
      (zoom && !std::isfinite(*zoom)))
    return;
  SetInitialView(latitudeDegrees, longitudeDegrees, zoom.value_or(state_.zoom));
  Publish();
}

// Whole steps, as the host's zoom buttons did; the change is taken at once so that quick
// presses add up before the pages report back.
void MapView::ZoomIn() {
  state_.zoom = std::min(kMaxZoom, std::floor(state_.zoom + 1e-9) + 1);
  Publish();
}

void MapView::ZoomOut() {
  state_.zoom = std::max(kMinZoom, std::ceil(state_.zoom - 1e-9) - 1);
  Publish();
}

bool MapView::HandleEvent(const ui::Json& event) {
  if (!event.is_object() || event.value("type", "") != "mapview") return false;
  const auto number = [&event](const char* key) -> std::optional<double> {
    const auto found = event.find(key);
    if (found == event.end() || !found->is_number()) return std::nullopt;
    const double value = found->get<double>();
    return std::isfinite(value) ? std::optional(value) : std::nullopt;
  };
  const auto latitude = number("lat");
  const auto longitude = number("lon");
  const auto zoom = number("zoom");
  const auto width = number("width");
  const auto height = number("height");
  if (!latitude || !longitude || !zoom || !width || !height || std::abs(*latitude) > 90 ||
      *width < 0 || *height < 0 || *width > kLargestMapPixels || *height > kLargestMapPixels) {
    if (diagnostics) diagnostics("MapView: a malformed map view from a page was ignored");
    return true;
  }
  SetInitialView(*latitude, *longitude, *zoom);
  state_.widthPixels = static_cast<int>(std::lround(*width));
  state_.heightPixels = static_cast<int>(std::lround(*height));
  if (onChange) onChange();
  return true;
}

void MapView::AddToSnapshot(ui::Json& snapshot) const {
  snapshot["mapView"] = ViewJson();
}

ui::Json MapView::ViewJson() const {
  return ui::Json{{"lat", state_.centreLatitudeDegrees},
                  {"lon", state_.centreLongitudeDegrees},
                  {"zoom", state_.zoom}};
}

void MapView::Publish() {
  ui::Json message = ViewJson();
  message["type"] = "mapgoto";
  desktop_.Publish(message);
  if (onChange) onChange();
}

}  // namespace orvo::host::map
