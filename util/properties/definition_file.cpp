#include "util/properties/definition_file.h"

#include <string>

#include "platform/framework/file.h"
#include "platform/zorplatform/exception.h"
#include "platform/zorplatform/file_search.h"
#include "util/serialization/primitives_internal.h"
#include "util/serialization/stream_serializers.h"

namespace zorutil::properties {

using primitives::ReadLittle;
using zorplatform::CException;

namespace {

// `source` is what messages call the file.
[[noreturn]] void ThrowCorrupt(const CString& source, const std::string& what) {
  CException::Throw(CException::kEndOfStream, source.ToUtf8() + ": corrupt definition file: " + what);
}

void RequireAtMost(std::uint32_t count, std::uint32_t most, const CString& source, const char* what) {
  if (count <= most) return;
  ThrowCorrupt(source, std::to_string(count) + " " + what + ", at most " + std::to_string(most) + " are possible");
}

CString ReadNamespaceName(ISerializer& in, const CString& source) {
  const auto length = ReadLittle<std::uint32_t>(in);
  RequireAtMost(length, kMaxNamespaceNameBytes, source, "bytes of a namespace name");
  std::string name(length, '\0');
  if (length != 0) in.Read(name.data(), length);
  return CString(name.c_str());
}

// A record does not know the file that it stands in, and whoever repairs the file has to.
std::shared_ptr<property_def_t> ReadDefinition(ISerializer& in, const CString& source, std::uint32_t index) {
  auto definition = std::make_shared<property_def_t>();
  try {
    definition->Deserialize(in);
  } catch (const CException& failure) {
    if (failure.GetCode() != CException::kEndOfStream) throw;
    ThrowCorrupt(source, "definition " + std::to_string(index + 1) + ": " + failure.what());
  }
  return definition;
}

bool Read(ISerializer& in, const CString& source, const CString& fileName, IDefinitionFileClient& client) {
  if (ReadLittle<std::uint32_t>(in) != kDefinitionFileMagic) return false;
  const bool hasThirdByte = ReadLittle<std::uint8_t>(in) != 0;
  std::uint8_t unused[3];
  in.Read(unused, hasThirdByte ? 3 : 2);
  const int number = ReadLittle<std::uint16_t>(in);
  if (number < 1 || number > kMaxNamespace) return false;
  CString namespaceName = ReadNamespaceName(in, source);
  if (namespaceName.IsEmpty()) namespaceName = fileName;
  const auto count = ReadLittle<std::uint32_t>(in);
  RequireAtMost(count, kMaxDefinitions, source, "definitions");

  if (!client.OnNamespace(number, fileName, namespaceName)) return true;
  for (std::uint32_t i = 0; i < count; ++i) {
    auto definition = ReadDefinition(in, source, i);
    definition->SetQualifiedName(namespaceName + u'.' + definition->GetName());
    if (!client.OnDefinition(std::move(definition))) break;
  }
  return true;
}

}  // namespace

IDefinitionFileClient::~IDefinitionFileClient() = default;

bool ReadDefinitionFile(const CString& path, IDefinitionFileClient& client) {
  CFile file;
  if (!zorplatform::FileExists(path) || !file.Open(path, CFile::modeRead)) return false;
  file_serializer_t in(&file);
  return Read(in, path, GetDefinitionFileName(path), client);
}

bool ReadDefinitionStream(ISerializer& in, const CString& fileName, IDefinitionFileClient& client) {
  return Read(in, fileName, fileName, client);
}

CString GetDefinitionFileName(const CString& path) {
  const CString name = path.Mid(path.ReverseFind(u'\\') + 1);
  const int stop = name.ReverseFind(u'.');
  return stop < 0 ? name : name.Left(stop);
}

}  // namespace zorutil::properties
