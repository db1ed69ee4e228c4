// What a command has to say: data for standard output, as text for people or as JSON for programs, and problems.
#pragma once

#include <cstddef>
#include <stdexcept>
#include <string>
#include <vector>

#include "platform/framework/cstring.h"
#include "util/json/object.h"

namespace utilctl {

/// A place and what is wrong there. Line and column count from 1, and are 0 where there are none.
struct problem_t {
  std::string file;
  int line = 0;
  int column = 0;
  std::string path;  ///< within the file: a JSON pointer, or the name of a property
  std::string cause;
};

/// A call that cannot be meant, which the table of commands did not rule out.
class usage_error_t : public std::runtime_error {
 public:
  using std::runtime_error::runtime_error;
};

class CReport {
 public:
  std::string text;                ///< for standard output, without --json
  zorutil::json::object_t result;  ///< for standard output, with --json

  void Add(problem_t problem) { problems_.push_back(std::move(problem)); }
  void Add(std::vector<problem_t> problems);
  const std::vector<problem_t>& GetProblems() const noexcept { return problems_; }
  /// The result and the problems as one JSON object; `failure` is what ended the command, if anything did.
  std::string GetJson(const std::string& failure) const;

 private:
  std::vector<problem_t> problems_;
};

/// What files say must not steer the terminal, nor make two lines of one.
std::string Printable(std::string text);
/// UTF-8 of `most` bytes or a little more: the middle of a longer text is left out.
std::string Shortened(std::string text, std::size_t most);
/// "file:line:column: path: cause", the place in bold where `colours` is set.
std::string ProblemText(const problem_t& problem, bool colours);

// Members of a JSON object, at its end.
void AddMember(zorutil::json::object_t& object, std::u16string_view name, std::shared_ptr<zorutil::json::IValue> value);
void AddMember(zorutil::json::object_t& object, std::u16string_view name, CVariant value);
void AddMember(zorutil::json::object_t& object, std::u16string_view name, zorutil::json::object_t&& value);
void AddMember(zorutil::json::object_t& object, std::u16string_view name, zorutil::json::array_t&& value);

}  // namespace utilctl
