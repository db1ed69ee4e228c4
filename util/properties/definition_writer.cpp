#include "util/properties/definition_writer.h"

#include <string>

#include "platform/framework/file.h"
#include "platform/framework/invalid_arg.h"
#include "platform/framework/replace_file.h"
#include "util/properties/definition_file.h"
#include "util/serialization/primitives_internal.h"
#include "util/serialization/stream_serializers.h"

namespace zorutil::properties {

using primitives::WriteLittle;

namespace {

constexpr std::uint8_t kFormatVersion = 1;

void Require(bool claim, const std::string& otherwise) {
  if (!claim) throw CInvalidArgException("definition file: " + otherwise);
}

void RequireReadable(const definition_file_t& file, const std::string& name) {
  Require(file.namespaceNumber >= 1 && file.namespaceNumber <= kMaxNamespace,
          "the namespace number " + std::to_string(file.namespaceNumber) + " lies outside 1 to " +
              std::to_string(kMaxNamespace));
  Require(name.size() <= kMaxNamespaceNameBytes, "a namespace name of " + std::to_string(name.size()) + " bytes");
  Require(name.find_first_of(std::string_view("\0\r\n", 3)) == std::string::npos,
          "the namespace name \"" + name + "\" holds a zero or a line break");
  Require(file.definitions.size() <= kMaxDefinitions, std::to_string(file.definitions.size()) + " definitions");
  for (const auto& definition : file.definitions) {
    Require(definition != nullptr, "an empty pointer among the definitions");
    Require(GetNamespaceNumber(definition->GetId()) == file.namespaceNumber,
            "the id " + std::to_string(definition->GetId()) + " of \"" + definition->GetName().ToUtf8() +
                "\" does not belong to namespace " + std::to_string(file.namespaceNumber));
  }
}

}  // namespace

void WriteDefinitionFile(const CString& path, const definition_file_t& file) {
  Require(path.Right(5) == u".prop" && IsIndexable(GetDefinitionFileName(path)),
          "\"" + path.ToUtf8() + "\" is no name for one");
  zorplatform::CReplaceFile replacement(path);
  file_serializer_t out(&replacement.GetFile());
  WriteDefinitionStream(out, file);
  replacement.Commit();
}

void WriteDefinitionStream(ISerializer& out, const definition_file_t& file) {
  const std::string name = file.namespaceName.ToUtf8();
  RequireReadable(file, name);
  WriteLittle(out, kDefinitionFileMagic);
  WriteLittle(out, std::uint8_t{0});  // no third byte
  WriteLittle(out, kFormatVersion);
  WriteLittle(out, std::uint8_t{0});
  WriteLittle(out, static_cast<std::uint16_t>(file.namespaceNumber));
  WriteLittle(out, static_cast<std::uint32_t>(name.size()));
  out.Write(name.data(), static_cast<unsigned>(name.size()));
  WriteLittle(out, static_cast<std::uint32_t>(file.definitions.size()));
  for (const auto& definition : file.definitions) definition->Serialize(out);
}

bool IsIndexable(const CString& fileName) { return !fileName.IsEmpty() && fileName.FindOneOf(u",\r\n") < 0; }

}  // namespace zorutil::properties
