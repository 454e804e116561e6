// The "Terminal Settings" dialog: whether the terminal shows what the target sends as text
// or as hexadecimal bytes. The mode is the preferences' number: 1 hexadecimal, 2 text.
#pragma once

#include <QDialog>

class QRadioButton;

namespace velmora::ui {

inline constexpr int kTerminalModeHex = 1;
inline constexpr int kTerminalModeAscii = 2;

class TerminalSettingsDialog : public QDialog {
  Q_OBJECT
 public:
  // mode: the current terminal mode; any value but 1 ticks the text option.
  explicit TerminalSettingsDialog(int mode, QWidget* parent = nullptr);

  // The working copy: what the caller stores after the dialog was accepted. After Cancel
  // it is the mode the dialog was opened with.
  int mode() const { return mode_; }

  void reject() override;

 private:
  void GetPreferences(int mode);
  void SetPreferences();

  QRadioButton* ascii_;
  QRadioButton* hex_;
  int mode_ = kTerminalModeAscii;
  int opened_ = kTerminalModeAscii;
};

}  // namespace velmora::ui
