#include "tools/utilctl/report.h"

#include <memory>
#include <utility>

#include "util/json/json_text.h"

namespace utilctl {

namespace json = zorutil::json;

namespace {

// Names may have a million characters.
constexpr std::size_t kMostShown = 2000;

}  // namespace

std::string Printable(std::string text) {
  unsigned char before = 0;
  for (char& each : text) {
    const auto unit = static_cast<unsigned char>(each);
    const bool isC1 = before == 0xC2 && unit < 0xA0;  // U+0080 to U+009F steer as well
    if (isC1) *(&each - 1) = '?';
    if (unit < 0x20 || unit == 0x7F || isC1) each = '?';
    before = unit;
  }
  return text;
}

std::string Shortened(std::string text, std::size_t most) {
  if (text.size() <= most) return text;
  const auto isWithin = [&](std::size_t at) { return (static_cast<unsigned char>(text[at]) & 0xC0) == 0x80; };
  std::size_t head = most / 2, tail = text.size() - most / 2;
  while (head > 0 && isWithin(head)) --head;
  while (tail < text.size() && isWithin(tail)) ++tail;
  return text.replace(head, tail - head, " ... ");
}

void CReport::Add(std::vector<problem_t> problems) {
  for (problem_t& each : problems) problems_.push_back(std::move(each));
}

std::string CReport::GetJson(const std::string& failure) const {
  json::object_t all = result;
  json::array_t list;
  for (const problem_t& each : problems_) {
    json::object_t problem;
    if (!each.file.empty()) AddMember(problem, u"file", CVariant(each.file));
    if (each.line != 0) AddMember(problem, u"line", CVariant::FromInt32(each.line));
    if (each.column != 0) AddMember(problem, u"column", CVariant::FromInt32(each.column));
    if (!each.path.empty()) AddMember(problem, u"path", CVariant(each.path));
    AddMember(problem, u"cause", CVariant(each.cause));
    list.AddObject(std::move(problem));
  }
  AddMember(all, u"problems", std::move(list));
  if (!failure.empty()) AddMember(all, u"failure", CVariant(failure));
  return json::WriteText(all) + '\n';
}

std::string ProblemText(const problem_t& problem, bool colours) {
  std::string place = Printable(problem.file);
  if (problem.line != 0) place += ':' + std::to_string(problem.line);
  if (problem.column != 0) place += ':' + std::to_string(problem.column);
  if (!place.empty()) place = (colours ? "\033[1m" + place + ":\033[0m" : place + ':') + ' ';
  if (!problem.path.empty()) place += Printable(Shortened(problem.path, kMostShown)) + ": ";
  return place + Printable(Shortened(problem.cause, kMostShown)) + '\n';
}

void AddMember(json::object_t& object, std::u16string_view name, std::shared_ptr<json::IValue> value) {
  object.members.emplace_back(CString(name), std::move(value), 0);
}

void AddMember(json::object_t& object, std::u16string_view name, CVariant value) {
  AddMember(object, name, std::make_shared<json::scalar_t>(std::move(value)));
}

void AddMember(json::object_t& object, std::u16string_view name, json::object_t&& value) {
  AddMember(object, name, std::make_shared<json::object_t>(std::move(value)));
}

void AddMember(json::object_t& object, std::u16string_view name, json::array_t&& value) {
  AddMember(object, name, std::make_shared<json::array_t>(std::move(value)));
}

}  // namespace utilctl
