// utilctl registry: looking at the machine-wide registry, and changing it.
#include "platform/registry/registry_text.h"

#include <charconv>
#include <memory>
#include <stdexcept>
#include <string>

#include "platform/framework/native_path.h"
#include "tools/utilctl/command_functions.h"
#include "tools/utilctl/files.h"
#include "util/values/variant.h"

namespace utilctl {

namespace json = zorutil::json;

namespace {

struct place_t {
  registry::hive_t hive = registry::HKEY_LOCAL_MACHINE;
  CString path;
};

place_t GetKey(const CCall& call) {
  place_t place;
  const std::string key = call.Get("KEY");
  if (!registry::SplitPath(CString(key), place.hive, place.path)) {
    throw usage_error_t("\"" + key + "\": a key begins with HKEY_LOCAL_MACHINE or HKEY_USERS, and does not end in \\");
  }
  return place;
}

void UseFile(const CCall& call) {
  if (call.Has("--file")) registry::SetRegistryFile(FileText(call.Get("--file")));
}

// Fine, or a finding for what is missing; everything else ends the command.
exit_t Take(CCall& call, const registry::status_t& status) {
  switch (status.code) {
    case registry::code_t::success: return EXIT_FINE;
    case registry::code_t::fileNotFound:
    case registry::code_t::keyHasChildren: call.report.Add({"", 0, 0, "", status.text}); return EXIT_FINDINGS;
    case registry::code_t::badPathname:
    case registry::code_t::invalidParameter: throw usage_error_t(status.text);
    default: throw std::runtime_error(status.text);
  }
}

std::string Digits(const std::vector<std::uint8_t>& bytes) {
  static constexpr char kDigits[] = "0123456789abcdef";
  std::string text;
  for (const std::uint8_t byte : bytes) {
    if (!text.empty()) text += ' ';
    text += kDigits[byte >> 4];
    text += kDigits[byte & 0xF];
  }
  return text;
}

// A value for people and for programs. False when its data is not what its type says; then the bytes are shown.
bool Describe(const registry::value_t& value, std::string& text, json::object_t& object) {
  const char* const type = registry::GetTypeName(value.type);
  AddMember(object, u"type", CVariant(type == nullptr ? std::to_string(value.type) : std::string(type)));
  std::uint32_t number = 0;
  CString wide;
  std::vector<CString> list;
  if (value.ToDword(number)) {
    text = std::to_string(number) + '\n';
    AddMember(object, u"value", CVariant::FromUInt32(number));
  } else if (value.ToText(wide)) {
    text = wide.ToUtf8() + '\n';
    AddMember(object, u"value", CVariant(wide));
  } else if (value.ToList(list)) {
    json::array_t array;
    for (const CString& each : list) {
      text += each.ToUtf8() + '\n';
      array.elements.push_back(std::make_shared<json::scalar_t>(CVariant(each)));
    }
    AddMember(object, u"value", std::move(array));
  } else {
    text = Digits(value.data) + '\n';
    AddMember(object, u"bytes", CVariant(Digits(value.data)));
    return value.type == registry::REG_BINARY;
  }
  return true;
}

std::uint32_t NumberOf(const std::string& text) {
  const bool isHex = text.starts_with("0x");
  const char* const end = text.data() + text.size();
  std::uint32_t number = 0;
  const auto parsed = std::from_chars(text.data() + (isHex ? 2 : 0), end, number, isHex ? 16 : 10);
  if (parsed.ec != std::errc() || parsed.ptr != end) {
    throw usage_error_t("\"" + text + "\": expected a number from 0 to 4294967295");
  }
  return number;
}

std::vector<std::uint8_t> BytesOf(const std::vector<std::string>& words) {
  std::string digits;
  for (const std::string& word : words) {
    for (const char each : word) {
      if (each != ' ') digits += each;
    }
  }
  std::vector<std::uint8_t> bytes(digits.size() / 2);
  for (std::size_t i = 0; i < bytes.size(); ++i) {
    const char* const at = digits.data() + 2 * i;
    if (std::from_chars(at, at + 2, bytes[i], 16).ptr != at + 2) digits.clear();
    if (digits.empty()) break;
  }
  if (digits.size() % 2 != 0 || digits.size() / 2 != bytes.size()) {
    throw usage_error_t("expected bytes of two hexadecimal digits each");
  }
  return bytes;
}

registry::value_t GetData(const CCall& call) {
  const std::string name = call.Get("--type", "REG_SZ");
  const auto type = registry::FindType(name);
  if (!type) {
    throw usage_error_t("--type: unknown type \"" + name +
                        "\"; there are REG_SZ REG_EXPAND_SZ REG_DWORD REG_BINARY REG_MULTI_SZ");
  }
  const std::vector<std::string> data = call.GetAll("DATA");
  if (*type == registry::REG_BINARY) return registry::value_t::FromBinary(BytesOf(data));
  if (*type == registry::REG_MULTI_SZ) {
    const std::vector<CString> texts(data.begin(), data.end());
    const auto list = registry::value_t::FromList(texts);
    if (!list) throw usage_error_t("a text of a list cannot be empty");
    return *list;
  }
  if (data.size() != 1) throw usage_error_t(name + " takes one DATA");
  if (*type == registry::REG_DWORD) return registry::value_t::FromDword(NumberOf(data.front()));
  return registry::value_t::FromText(CString(data.front()), *type);
}

}  // namespace

exit_t GetRegistryValue(CCall& call) {
  UseFile(call);
  const place_t key = GetKey(call);
  registry::value_t value;
  const exit_t code = Take(call, registry::QueryValue(key.hive, key.path, CString(call.Get("NAME")), value));
  if (code != EXIT_FINE) return code;
  if (!Describe(value, call.report.text, call.report.result)) {
    const char* const type = registry::GetTypeName(value.type);
    call.report.Add({"", 0, 0, call.Get("NAME"),
                     std::string("the data is not that of ") + (type == nullptr ? "a known type" : type)});
  }
  return call.GetExit();
}

exit_t SetRegistryValue(CCall& call) {
  UseFile(call);
  const place_t place = GetKey(call);
  const registry::key_values_t key{place.hive, place.path, {{CString(call.Get("NAME")), GetData(call)}}};
  return Take(call, registry::WriteKeys({&key, 1}));
}

exit_t DeleteFromRegistry(CCall& call) {
  UseFile(call);
  const place_t place = GetKey(call);
  registry::CKey key;
  if (call.Has("NAME")) {
    if (call.Has("--tree")) throw usage_error_t("--tree: a value has nothing beneath it");
    registry::status_t status = key.Open(place.hive, place.path, registry::KEY_READ_WRITE);
    if (status) status = key.DeleteValue(CString(call.Get("NAME")));
    return Take(call, status);
  }
  if (place.path.IsEmpty()) throw usage_error_t("a hive cannot be deleted");
  registry::status_t status = key.Open(place.hive, u"", registry::KEY_READ_WRITE);
  if (status) status = call.Has("--tree") ? key.DeleteTree(place.path) : key.DeleteKey(place.path);
  return Take(call, status);
}

exit_t ListRegistryKey(CCall& call) {
  UseFile(call);
  const place_t place = GetKey(call);
  registry::CKey key;
  std::vector<CString> names;
  std::vector<registry::named_value_t> values;
  // Keys and values of one moment; without a transaction of its own when that cannot begin, which the next call tells.
  registry::CTransaction moment;
  registry::status_t status = moment.Begin(registry::CTransaction::read);
  if (status) status = key.Open(place.hive, place.path);
  if (status) status = key.GetSubkeys(names);
  if (status) status = key.GetValues(values);
  if (const exit_t code = Take(call, status); code != EXIT_FINE) return code;
  json::array_t keyList;
  json::array_t valueList;
  for (const CString& name : names) {
    call.report.text += name.ToUtf8() + "\\\n";
    keyList.elements.push_back(std::make_shared<json::scalar_t>(CVariant(name)));
  }
  for (const registry::named_value_t& each : values) {
    call.report.text += registry::PrintValue(each);
    json::object_t object;
    std::string unused;
    AddMember(object, u"name", CVariant(each.name));
    Describe(each.value, unused, object);
    valueList.AddObject(std::move(object));
  }
  AddMember(call.report.result, u"keys", std::move(keyList));
  AddMember(call.report.result, u"values", std::move(valueList));
  return EXIT_FINE;
}

exit_t ExportRegistry(CCall& call) {
  UseFile(call);
  const place_t place = GetKey(call);
  std::vector<registry::key_values_t> keys;
  if (const exit_t code = Take(call, registry::ReadTree(place.hive, place.path, keys)); code != EXIT_FINE) return code;
  const std::string text = registry::PrintText(keys);
  AddMember(call.report.result, u"keys", CVariant::FromInt32(static_cast<std::int32_t>(keys.size())));
  if (call.Has("--out")) {
    ReplaceWholeFile(call.Get("--out"), text);
  } else {
    call.report.text = text;
    AddMember(call.report.result, u"text", CVariant(text));
  }
  return EXIT_FINE;
}

exit_t ImportRegistry(CCall& call) {
  UseFile(call);
  const std::string file = call.Get("FILE");
  std::vector<registry::text_problem_t> problems;
  const std::vector<registry::key_values_t> keys = registry::ParseText(ReadWholeFile(file), problems);
  for (const registry::text_problem_t& each : problems) call.report.Add({file, each.line, 0, "", each.cause});
  if (!problems.empty()) return EXIT_FINDINGS;
  if (!call.Has("--check")) {
    if (const exit_t code = Take(call, registry::WriteKeys(keys)); code != EXIT_FINE) return code;
  }
  std::size_t count = 0;
  for (const registry::key_values_t& key : keys) count += key.values.size();
  call.report.text = std::to_string(keys.size()) + " keys, " + std::to_string(count) + " values\n";
  AddMember(call.report.result, u"keys", CVariant::FromInt32(static_cast<std::int32_t>(keys.size())));
  AddMember(call.report.result, u"values", CVariant::FromInt32(static_cast<std::int32_t>(count)));
  return EXIT_FINE;
}

}  // namespace utilctl
