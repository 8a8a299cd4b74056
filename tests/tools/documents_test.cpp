// SPDX-License-Identifier: Apache-2.0
// What speaks of the program elsewhere keeps up with its --help.
#include <gtest/gtest.h>

#include <algorithm>
#include <map>
#include <regex>
#include <set>
#include <sstream>

#include "run_kip.hpp"

namespace kip::test {
namespace {

using Set = std::set<std::string>;

const char* const kCommands[] = {"smooth", "reduce", "binomial", "pyramid", "info"};

Set found(const std::string& text, const std::string& pattern) {
  const std::regex regex(pattern);
  Set all;
  for (std::sregex_iterator match(text.begin(), text.end(), regex), end; match != end; ++match) all.insert((*match)[1]);
  return all;
}

Set optionsOf(std::vector<std::string> command) {
  command.push_back("--help");
  return found(runKip(command).out, "\n  (?:-h,)?(--[a-z-]+)");
}

Set without(Set options, const std::string& option) {
  options.erase(option);
  return options;
}

TEST(ManPage, NamesEveryOptionAndNoOther) {
  // the options that begin a paragraph, by the section in which they stand
  std::istringstream page(std::regex_replace(readBytes(KIP_SOURCE "/docs/kip.1"), std::regex(R"(\\-)"), "-"));
  std::map<std::string, std::string> sections;
  std::string section;
  bool begins = false;
  for (std::string line; std::getline(page, line); begins = line == ".TP") {
    if (line.starts_with(".SH ")) section = line.substr(4);
    if (begins) sections[section] += line + "\n";
  }
  const std::string option = "(--[a-z-]+)";
  EXPECT_EQ(found(sections["DESCRIPTION"], option), optionsOf({}));
  for (const std::string command : kCommands) {
    std::string title = command;
    std::transform(title.begin(), title.end(), title.begin(), [](char c) { return static_cast<char>(c - 'a' + 'A'); });
    EXPECT_EQ(found(sections[title], option), without(optionsOf({command}), "--help")) << command;
  }
}

TEST(Completion, OffersWhatTheProgramTakes) {
  const auto complete = [](const std::string& words, int at) {
    std::string script = "source " KIP_SOURCE "/tools/kip/completion/kip.bash; COMP_WORDS=(" KIP_PROGRAM " " + words;
    script += ") COMP_CWORD=" + std::to_string(at) + "; _kip; printf '%s\\n' \"${COMPREPLY[@]}\"";
    return found(run("/bin/bash", {"-c", script}).out, "([^\n]+)\n");
  };
  for (const std::string command : kCommands) EXPECT_EQ(complete(command + " --", 2), optionsOf({command})) << command;
  EXPECT_EQ(complete("--", 1), optionsOf({}));
  EXPECT_EQ(complete("''", 1), [] {
    Set words = optionsOf({});
    words.insert(std::begin(kCommands), std::end(kCommands));
    return words;
  }());
  EXPECT_EQ(complete("smooth in.png --level ''", 4), (Set{"portable", "1", "2"}));
  EXPECT_EQ(complete("smooth in", 2), Set{});  // a file
}

}  // namespace
}  // namespace kip::test
