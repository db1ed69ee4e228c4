// For the tests of programs: a folder to run in, and what the program wrote there.
#pragma once

#include <gtest/gtest.h>
#include <sys/wait.h>

#include <cstdlib>
#include <filesystem>
#include <string>

#include "platform/framework/temp_folder_testing.h"

class ProgramTest : public testing::Test {
 protected:
  /// `program` is a command line for a shell up to the arguments.
  explicit ProgramTest(std::string program) : program_(std::move(program)) {}

  void Write(const std::string& name, const std::string& text) const { temp_.Put(name, text); }

  /// The exit code, or -1 when the program was killed; what it wrote is in out_ and messages_. `before` and `after`
  /// stand around the call.
  int Run(const std::string& arguments, const std::string& before = "", const std::string& after = "> out") {
    const std::string command =
        "cd '" + folder_.string() + "' && " + before + " " + program_ + " " + arguments + " " + after + " 2> messages";
    const int status = std::system(command.c_str());
    out_ = temp_.Get("out");
    messages_ = temp_.Get("messages");
    return WIFEXITED(status) ? WEXITSTATUS(status) : -1;
  }

  const CTempFolder temp_;
  const std::filesystem::path& folder_ = temp_.Native();
  std::string out_;
  std::string messages_;

 private:
  std::string program_;
};
