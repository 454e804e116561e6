// The message list `ITerminal`: the message lines in a fixed-pitch font, following the
// newest line, with rows that can be selected and copied with Ctrl+C.
#pragma once

#include <QListView>

namespace velmora::ui {

class MessageListModel;

class MessageListView : public QListView {
  Q_OBJECT
 public:
  MessageListView(MessageListModel& model, QWidget* parent = nullptr);

  // The selected rows' text to the clipboard, one line each.
  void copySelection();

 protected:
  void keyPressEvent(QKeyEvent* event) override;

 private:
  void rememberIfAtEnd();
  void followEnd();

  MessageListModel& model_;
  // Whether the newest row was in view before the model changed: a user who scrolled back
  // to read older lines is not pulled away from them.
  bool atEnd_ = true;
};

}  // namespace velmora::ui
