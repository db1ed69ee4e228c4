// The application directory: where the program lies, with the files that belong to it.
//
//   CString product = zorplatform::GetAppDir() + u"product.ini";        // "\opt\plant\bin\product.ini"
//
// It is what SetAppDir was given; else what the environment variable ZORUTIL_APP_DIR says, unless the program runs with
// more rights than its user; else the folder of the running program. What is derived from it and kept (the definitions
// directory, the product's files) does not follow a later change, so a program redirects it first of all. Any number of
// threads, as long as none changes the environment.
#pragma once

#include <string>

#include "platform/export.h"
#include "platform/framework/cstring.h"

namespace zorplatform {

/// A path text that ends in "\".
ZORPLATFORM_API CString GetAppDir();
/// Which of the three it is, for people: "ZORUTIL_APP_DIR".
ZORPLATFORM_API std::string GetAppDirSource();
/// From now on the directory of the whole process. An empty text takes the redirection back.
ZORPLATFORM_API void SetAppDir(const CString& directory);

}  // namespace zorplatform
