// What is made from the table of commands beside the parser: completions and the manual page.
#pragma once

#include <string>

namespace utilctl {

std::string MakeBashCompletion();
std::string MakeZshCompletion();
std::string MakeManualPage();

}  // namespace utilctl
