// The options dialog's sounds and pictures: the sound of every direction type and the sound and
// picture of every action, chosen row by row.
#include "guidance/frmGuidanceOpt.hpp"
#include "host/ui/Desktop.hpp"

namespace orvo::guidance {
namespace {

constexpr int kTypeTab = 3;
constexpr int kDirectionTypes = 0;
constexpr int kActionTypes = 1;
constexpr const char* kWavFilter = "Wav Files (*.wav)|*.wav";
constexpr const char* kPictureFilter =
    "Picture Files|*.bmp;*.gif;*.jpg;*.wmf;*.ico;*.cur|Bitmaps (*.bmp)|*.bmp|"
    "GIF Images (*.gif)|*.gif|JPEG Images (*.jpg)|*.jpg|Metafiles (*.wmf)|*.wmf|"
    "Icons (*.ico)|*.ico|Cursors (*.cur)|*.cur";

}  // namespace

void frmGuidanceOpt::LayoutTypes() {
  const auto onTab = [this](host::ui::Control& control, int left, int top, int width, int height) {
    control.SetContainer(sstabMain, kTypeTab);
    control.Place(left, top, width, height);
  };
  onTab(cboType, 240, 480, 2400, 315);
  cboType.AddItem("Guidance Type");
  cboType.AddItem("Guidance Action");
  onTab(lstItems, 240, 900, 2400, 2280);
  onTab(lblDesc, 2760, 480, 3300, 700);
  lblCaption[8].SetContainer(sstabMain, kTypeTab);
  lblCaption[8].Place(2760, 1260, 1500, 255);
  lblCaption[8].SetCaption("Wav Audio");
  onTab(txtWav, 2760, 1530, 2700, 315);
  onTab(cmdBrwWav, 5520, 1530, 480, 315);
  cmdBrwWav.SetCaption("...");
  onTab(chkWavDefault, 2760, 1920, 1300, 285);
  chkWavDefault.SetCaption("Default");
  onTab(chkWavMute, 4140, 1920, 1300, 285);
  chkWavMute.SetCaption("Mute");
  onTab(txtPic, 2760, 2640, 2700, 315);
  onTab(cmdBrwPic, 5520, 2640, 480, 315);
  cmdBrwPic.SetCaption("...");
  onTab(lblNote, 240, 3360, 5760, 500);
  lblCaption[9].SetContainer(sstabMain, kTypeTab);
  lblCaption[9].Place(2760, 2370, 1500, 255);
  lblCaption[9].SetCaption("Icon Picture");
  lblDesc.SetStyle("border", true);
}

GuidanceTypeEntry* frmGuidanceOpt::SelectedRow() {
  const int row = lstItems.ListIndex();
  if (row < 0) return nullptr;
  if (cboType.ListIndex() == kActionTypes)
    return row < static_cast<int>(kActionTypeRows) ? &setup_.ActionTypeTable[row] : nullptr;
  return row < static_cast<int>(kDirectionTypeRows) ? &setup_.DirectionTypeTable[row] : nullptr;
}

void frmGuidanceOpt::ShowTable() {
  const bool wasShowing = showing_;
  showing_ = true;
  if (cboType.ListIndex() < 0) cboType.SetListIndex(kDirectionTypes);
  const bool actions = cboType.ListIndex() == kActionTypes;
  lstItems.Clear();
  const std::size_t rows = actions ? kActionTypeRows : kDirectionTypeRows;
  for (std::size_t row = 0; row < rows; ++row)
    lstItems.AddItem(actions ? setup_.ActionTypeTable[row].Name
                             : setup_.DirectionTypeTable[row].Name);
  lstItems.SetListIndex(0);
  showing_ = wasShowing;
}

void frmGuidanceOpt::ShowRow() {
  const GuidanceTypeEntry* row = SelectedRow();
  if (row == nullptr) return;
  const bool wasShowing = showing_;
  showing_ = true;
  lblDesc.SetCaption(row->Description);
  chkWavMute.SetValue(row->Wav == "-" ? 1 : 0);
  chkWavDefault.SetValue(row->Wav.empty() ? 1 : 0);
  txtWav.SetText(row->Wav == "-" ? std::string() : row->Wav);
  const bool picture = cboType.ListIndex() == kActionTypes;
  txtPic.SetText(picture ? row->Picture : std::string());
  txtPic.SetEnabled(picture);
  cmdBrwPic.SetEnabled(picture);
  lblNote.SetCaption("Note: Long audio playback on guidance types will affect the performance.");
  showing_ = wasShowing;
  ApplyWavChoice();
}

// Mute stores "-", Default the empty value, otherwise the path in the box.
void frmGuidanceOpt::ApplyWavChoice() {
  const bool chosenFile = chkWavMute.Value() == 0 && chkWavDefault.Value() == 0;
  txtWav.SetEnabled(chosenFile);
  cmdBrwWav.SetEnabled(chosenFile);
  GuidanceTypeEntry* row = SelectedRow();
  if (showing_ || row == nullptr) return;
  row->Wav = chkWavMute.Value() == 1 ? "-" : chkWavDefault.Value() == 1 ? "" : txtWav.Text();
}

void frmGuidanceOpt::WireTypes() {
  cboType.onClick = [this] { ShowTable(); };
  lstItems.onClick = [this] { ShowRow(); };
  chkWavMute.onClick = [this] {
    if (chkWavMute.Value() == 1 && !showing_) {
      showing_ = true;
      chkWavDefault.SetValue(0);
      showing_ = false;
    }
    ApplyWavChoice();
  };
  chkWavDefault.onClick = [this] {
    if (chkWavDefault.Value() == 1 && !showing_) {
      showing_ = true;
      chkWavMute.SetValue(0);
      showing_ = false;
    }
    ApplyWavChoice();
  };
  txtWav.onChange = [this] { ApplyWavChoice(); };
  txtPic.onChange = [this] {
    GuidanceTypeEntry* row = SelectedRow();
    if (!showing_ && row != nullptr && cboType.ListIndex() == kActionTypes)
      row->Picture = txtPic.Text();
  };
  cmdBrwWav.onClick = [this] {
    host::ui::FileRequest request;
    request.title = "Wav Audio";
    request.filter = kWavFilter;
    request.initialPath = txtWav.Text();
    if (auto chosen = GetDesktop().Dialogs().ChooseFile(request)) txtWav.SetText(*chosen);
  };
  cmdBrwPic.onClick = [this] {
    host::ui::FileRequest request;
    request.title = "Icon Picture";
    request.filter = kPictureFilter;
    request.initialPath = txtPic.Text();
    if (auto chosen = GetDesktop().Dialogs().ChooseFile(request)) txtPic.SetText(*chosen);
  };
}

}  // namespace orvo::guidance
