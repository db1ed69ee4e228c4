// The definition files of one folder, read one by one, whatever its index says.
#pragma once

#include <string>
#include <vector>

#include "tools/utilctl/definition_source.h"

namespace utilctl {

struct definition_file_content_t {
  std::string path;
  std::string stem;
  int number = 0;
  CString namespaceName;
  std::vector<definition_ptr_t> definitions;
  std::string failure;  ///< why it cannot be read; empty when it can
};

/// `withDefinitions` false: the namespace alone.
definition_file_content_t ReadDefinitions(const std::string& path, bool withDefinitions = true);
/// All "*.prop" of a folder, in the order of their names.
std::vector<definition_file_content_t> ReadDefinitionFolder(const std::string& folder, bool withDefinitions = true);
/// The names of the files of a folder that match a mask such as "*.prop".
std::vector<std::string> FindFiles(const std::string& folder, const std::string& mask);

/// Where the program's own definitions lie.
std::string GetDefaultFolder();
/// CFileException when there is no such folder.
void RequireFolder(const std::string& folder);
/// The same, and when it has no index, without which it is no folder of definitions to a program.
void RequireDefinitions(const std::string& folder);

}  // namespace utilctl
