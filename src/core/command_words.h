// The words of the program's command line (the script names given at start).
#pragma once

#include <string>
#include <string_view>
#include <vector>

namespace velmora {

class CommandWords {
 public:
  CommandWords() = default;
  // Splits a command-line text at runs of spaces and tabs.
  explicit CommandWords(std::string_view commandLine);
  // Takes words that the operating system has already split (argv after the options).
  explicit CommandWords(std::vector<std::string> words);

  int CommandWordCount() const { return static_cast<int>(words_.size()); }
  // The n-th word, counted from 1; empty when there is no such word.
  std::string CommandWord(int index) const;

 private:
  std::vector<std::string> words_;
};

}  // namespace velmora
