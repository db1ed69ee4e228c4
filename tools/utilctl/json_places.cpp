#include "tools/utilctl/json_places.h"

#include <algorithm>
#include <map>
#include <tuple>

#include "util/json/object.h"
#include "util/json/pointer.h"

namespace utilctl {

namespace json = zorutil::json;

namespace {

struct offsets_t {
  std::size_t name = 0;
  std::size_t value = 0;
};
using wanted_t = std::map<json_path_t, offsets_t>;

// Walks a text that is known to be right, so only what structures it is looked at. Its depth is that of the reader.
class CScanner {
 public:
  CScanner(std::string_view text, wanted_t& wanted) : text_(text), wanted_(wanted) {}
  void Run() {
    if (text_.starts_with("\xEF\xBB\xBF")) at_ = 3;
    Value(Skip());
  }

 private:
  std::size_t Skip() {
    at_ = std::min(text_.find_first_not_of(" \t\r\n", at_), text_.size());
    return at_;
  }
  char Get() const { return at_ < text_.size() ? text_[at_] : '\0'; }
  void String() {
    for (++at_; at_ < text_.size() && text_[at_] != '"'; ++at_) at_ += text_[at_] == '\\' ? 1 : 0;
    ++at_;
  }
  void Value(std::size_t name) {
    const std::size_t start = Skip();
    if (const auto found = wanted_.find(path_); found != wanted_.end()) found->second = {name, start};
    switch (Get()) {
      case '{':
      case '[': Container(Get() == '{'); break;
      case '"': String(); break;
      default: at_ = std::min(text_.find_first_of(",]} \t\r\n", at_), text_.size());
    }
  }
  void Container(bool isObject) {
    ++at_;
    path_.push_back(0);
    for (Skip(); at_ < text_.size() && Get() != ']' && Get() != '}'; Skip()) {
      if (Get() == ',') {
        ++at_;
        ++path_.back();
        continue;
      }
      const std::size_t name = at_;
      if (isObject) {
        String();
        Skip();
        ++at_;  // the colon
      }
      Value(name);
    }
    path_.pop_back();
    ++at_;
  }

  std::string_view text_;
  wanted_t& wanted_;
  json_path_t path_;
  std::size_t at_ = 0;
};

std::string PointerText(const json::IValue* node, const json_path_t& path) {
  CString pointer;
  for (const std::uint32_t at : path) {
    if (const auto* object = dynamic_cast<const json::object_t*>(node)) {
      const json::member_t& member = *std::next(object->members.begin(), at);
      json::AppendPointerToken(pointer, member.name);
      node = member.value.get();
    } else if (const auto* array = dynamic_cast<const json::array_t*>(node)) {
      json::AppendPointerToken(pointer, CString(std::to_string(at)));
      node = array->elements[at].get();
    }
  }
  return pointer.ToUtf8();
}

}  // namespace

std::vector<problem_t> LocateRemarks(const std::string& file, std::string_view text,
                                     const std::shared_ptr<json::IValue>& document,
                                     std::vector<json_remark_t> remarks) {
  if (remarks.empty()) return {};
  wanted_t wanted;
  for (const json_remark_t& each : remarks) wanted.try_emplace(each.path);
  CScanner(text, wanted).Run();

  std::vector<std::pair<std::size_t, const json_remark_t*>> ordered;
  for (const json_remark_t& each : remarks) {
    const offsets_t& found = wanted[each.path];
    ordered.emplace_back(each.isName ? found.name : found.value, &each);
  }
  std::stable_sort(ordered.begin(), ordered.end(), [](const auto& a, const auto& b) { return a.first < b.first; });

  std::vector<problem_t> problems;
  int line = 1;
  int column = 1;
  std::size_t at = text.starts_with("\xEF\xBB\xBF") ? 3 : 0;
  for (const auto& [offset, remark] : ordered) {
    for (; at < offset; ++at) {
      const auto byte = static_cast<unsigned char>(text[at]);
      column = byte == '\n' ? 1 : column + ((byte & 0xC0) != 0x80 ? 1 : 0);
      line += byte == '\n' ? 1 : 0;
    }
    problems.push_back({file, line, column, PointerText(document.get(), remark->path), remark->cause});
  }
  return problems;
}

}  // namespace utilctl
