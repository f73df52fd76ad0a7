#include "addin/AddinSession.hpp"

namespace orvo::addin {

struct AddinSession::Parts {};

AddinSession::AddinSession(HostServices&) : parts_(std::make_unique<Parts>()) {}

AddinSession::~AddinSession() {
  Shutdown();
}

void AddinSession::Shutdown() {
  parts_.reset();
}

}  // namespace orvo::addin
