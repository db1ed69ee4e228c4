// A shared library that is loaded while the program runs: a plug-in, and what it offers by name.
//
//   zorplatform::CSharedLibrary pumps(u"\\opt\\plant\\plugins\\pumps.so");        // CFileException when it cannot be
//   if (auto* const open = pumps.FindFunction<int(const char*)>("OpenPump")) open("P-101");
//
// A resource with one owner: moved, not copied. Loading a library runs its initialisers, and destroying the object its
// finalisers, unless another CSharedLibrary, or another library, holds the same file; its code and constants are gone
// then, and so must be all objects and exceptions whose classes it brought. Any number of threads, each with an object
// of its own.
#pragma once

#include "platform/export.h"
#include "platform/framework/cstring.h"

namespace zorplatform {

class ZORPLATFORM_API CSharedLibrary {
 public:
  /// No library: nothing is found in it.
  CSharedLibrary() noexcept = default;
  /// Loads a file, of that path and no other: the system's search folders play no part for the library itself, only for
  /// those that it needs. Everything that it uses of others is looked up at once, so that what is missing is told here
  /// rather than when it is called; what it offers is not used to make up for what another plug-in lacks.
  /// CFileException, with the system's words for the cause, when there is no such file, it is no library of this
  /// machine or not a whole one, or something that it needs is missing.
  explicit CSharedLibrary(const CString& path);
  CSharedLibrary(CSharedLibrary&& other) noexcept;
  CSharedLibrary& operator=(CSharedLibrary&& other) noexcept;
  CSharedLibrary(const CSharedLibrary&) = delete;
  CSharedLibrary& operator=(const CSharedLibrary&) = delete;
  ~CSharedLibrary();

  /// As it was given; empty without a library.
  const CString& GetPath() const noexcept { return path_; }
  /// The address of an exported name of this library itself, not of one that it needs; null when it exports none such.
  void* FindSymbol(const char* name) const noexcept;
  /// The same as a function, whose type nobody checks.
  template <class Function>
  Function* FindFunction(const char* name) const noexcept {
    return reinterpret_cast<Function*>(FindSymbol(name));
  }

 private:
  CString path_;
  void* handle_ = nullptr;
};

}  // namespace zorplatform
