// The functions of the table of commands (commands.cpp), each in the file of its family.
#pragma once

#include "tools/utilctl/command.h"

namespace utilctl {

exit_t CompileDefinitions(CCall& call);
exit_t ListDefinitions(CCall& call);
exit_t ShowDefinition(CCall& call);
exit_t CheckDefinitionFolder(CCall& call);
exit_t DecompileDefinitions(CCall& call);
exit_t ValidateSettings(CCall& call);

exit_t CheckJson(CCall& call);
exit_t FormatJson(CCall& call);
exit_t PatchJson(CCall& call);

exit_t CheckProject(CCall& call);
exit_t ShowProject(CCall& call);
exit_t ConvertProject(CCall& call);
exit_t DiffProjects(CCall& call);
exit_t PatchProject(CCall& call);
exit_t FindInProject(CCall& call);

exit_t ConvertValue(CCall& call);
exit_t FormatValue(CCall& call);

exit_t ShowMessage(CCall& call);
exit_t LintMessages(CCall& call);

exit_t CheckAddress(CCall& call);

}  // namespace utilctl
