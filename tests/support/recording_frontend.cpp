#include "recording_frontend.h"

#include <algorithm>

namespace velmora::test {

RecordingFrontend::RecordingFrontend() {
  Changes().Subscribe([this](const Change& change) { changes.push_back(change); });
}

std::vector<Change> RecordingFrontend::ChangesOf(RefreshTarget target) const {
  std::vector<Change> found;
  std::copy_if(changes.begin(), changes.end(), std::back_inserter(found),
               [target](const Change& change) { return change.target == target; });
  return found;
}

BoxAnswer RecordingFrontend::MessageBox(std::string_view text, BoxButtons buttons, BoxIcon icon,
                                        std::string_view) {
  boxes.push_back({std::string(text), buttons, icon});
  if (!answers_.empty()) {
    const BoxAnswer answer = answers_.front();
    answers_.pop_front();
    return answer;
  }
  return buttons == BoxButtons::YesNo ? BoxAnswer::Yes : BoxAnswer::Ok;
}

std::optional<std::string> RecordingFrontend::InputBox(std::string_view prompt, std::string_view,
                                                       std::string_view defaultText) {
  prompts.emplace_back(prompt);
  if (inputs_.empty()) return std::string(defaultText);
  auto input = std::move(inputs_.front());
  inputs_.pop_front();
  return input;
}

}  // namespace velmora::test
