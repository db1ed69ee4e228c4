// The interface through which every value, object, message and document writes itself out and reads itself back.
//
//   void Save(const CVariant& value, zorutil::ISerializer& out) { zorutil::Serialize(value, out); }
//
// A binary serializer moves raw bytes without any framing: what Write receives is what a Read of the same length
// returns. A text serializer ignores Read and Write and gives the text operations their meaning. One thread at a
// time uses a serializer.
#pragma once

#include "platform/export.h"
#include "platform/framework/cstring.h"

namespace zorutil {

class ZORUTIL_API ISerializer {
 public:
  virtual ~ISerializer();

  /// Whether Read and Write move bytes; the text operations are then without effect.
  virtual bool IsBinary() const { return true; }
  /// Whether the text operations have a meaning; Read and Write are then without effect.
  virtual bool IsText() const { return false; }

  /// The next `n` bytes, or zorplatform::CException: -3 from a stream, -1 from a buffer in memory.
  virtual void Read(void* dst, unsigned n) = 0;
  /// Takes `n` bytes, all of them; `n` may be 0. Throws what its target throws: CFileException, std::bad_alloc.
  virtual void Write(const void* src, unsigned n) = 0;
  /// Looks at the next `n` bytes without taking them. False when there are not so many, or when the serializer
  /// cannot look ahead (as here); never throws for lack of data.
  virtual bool Peek(void* dst, unsigned n);

  // Text operations. A binary serializer keeps these answers.

  /// The nesting depth at which a text serializer stands.
  virtual int GetTextDepth() const { return 0; }
  /// The white space that begins a line at a depth.
  virtual CString MakeIndent(unsigned depth) const;
  /// Appends text; nothing in a binary serializer.
  virtual void WriteText(const CString& text);
  /// The text written so far.
  virtual const CString& GetText() const;
};

/// Something that has a record of its own on top of a serializer.
class ZORUTIL_API ISerializable {
 public:
  virtual ~ISerializable();
  /// Writes the record; an exception of the serializer may leave part of it behind.
  virtual void Serialize(ISerializer& out) const = 0;
  /// Reads what Serialize wrote. zorplatform::CException for a corrupt record, and the serializer's own exception at
  /// the end of data.
  virtual void Deserialize(ISerializer& in) = 0;
};

}  // namespace zorutil
