// The flash dialog ("FFlash"): one dialog for erase, protect, unprotect, lock, unlock and
// reading the status words. It offers the units whose driver lists the operation, their
// sections (or status words) to choose from, and the passwords; after OK the caller runs
// request() on the worker. Status words are read by the caller too: the dialog asks with
// statusWordsWanted() and shows what showStatusWords() brings.
#pragma once

#include <QDialog>
#include <cstdint>
#include <vector>

#include "commands/flash_requests.h"
#include "config/memory_unit.h"

class QComboBox;
class QLabel;
class QLineEdit;
class QListWidget;
class QPushButton;

namespace velmora::ui {

class FlashDialog : public QDialog {
  Q_OBJECT
 public:
  FlashDialog(std::vector<MemoryUnit> units, FlashFeature feature, QWidget* parent = nullptr);

  // Prepares the dialog for one operation: caption, controls, the units offering it, the
  // first of them chosen, and the passwords preset.
  void setfeature(FlashFeature feature);
  void RefreshSectionList();
  // The status words of the chosen unit, in order, as read from the target.
  void showStatusWords(const std::vector<int32_t>& words);

  FlashFeature feature() const { return feature_; }
  // The chosen unit's index in the configuration, or -1.
  int unitIndex() const;
  // What OK asks for: the chosen sections in list order and the parsed passwords.
  FlashRequest request() const;

 signals:
  void statusWordsWanted(int unitIndex);

 private:
  void showStatusTip(int row);

  std::vector<MemoryUnit> units_;
  FlashFeature feature_ = FlashFeature::Erase;
  std::vector<int> offering_;
  QComboBox* unit_ = nullptr;
  QLabel* sectionsTitle_ = nullptr;
  QListWidget* sections_ = nullptr;
  QLabel* passwordsLabel_ = nullptr;
  QLineEdit* passwords_ = nullptr;
  QPushButton* ok_ = nullptr;
};

}  // namespace velmora::ui
