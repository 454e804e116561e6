#include "core/command_words.h"

#include <utility>

namespace velmora {

CommandWords::CommandWords(std::string_view commandLine) {
  std::string word;
  for (char ch : commandLine) {
    if (ch == ' ' || ch == '\t') {
      if (!word.empty()) words_.push_back(std::move(word));
      word.clear();
    } else {
      word.push_back(ch);
    }
  }
  if (!word.empty()) words_.push_back(std::move(word));
}

CommandWords::CommandWords(std::vector<std::string> words) {
  for (auto& word : words) {
    if (!word.empty()) words_.push_back(std::move(word));
  }
}

std::string CommandWords::CommandWord(int index) const {
  if (index < 1 || index > CommandWordCount()) return {};
  return words_[static_cast<size_t>(index - 1)];
}

}  // namespace velmora
