#pragma once
// Sample payloads: CByteArray (bytes, owned or borrowed), CDataReference (a view of
// one array that samples share), CPixelBufferDataReference (adds picture size and
// row stride) and CLockedDataReference (access to the bytes while it lives).

#include <cstddef>
#include <cstdint>

#include "orrin/api.h"
#include "orrin/object.h"

namespace Quorvane::Orrin {

class ORRIN_API CByteArray : public CObject {
public:
  // Borrows `length` bytes at `data`; the caller keeps them alive while the array is used.
  CByteArray(void* data, std::size_t length) noexcept;
  // Owns a new 64-byte-aligned block of `length` bytes (contents unspecified);
  // throws std::bad_alloc.
  explicit CByteArray(std::size_t length);
  ~CByteArray() override;

  uint8_t* GetData() const noexcept { return data_; }
  std::size_t GetLength() const noexcept { return length_; }

private:
  uint8_t* data_;
  std::size_t length_;
  bool owned_;
};

// Lock modes: bit 0 read, bit 1 write; a mode with no such bit or any other bit
// set gives an empty lock.
enum : int { kLockRead = 1, kLockWrite = 2, kLockReadWrite = 3 };

// Keeps the bytes alive while it exists. Empty (length 0, data null) when the lock
// was refused or the reference had no bytes.
class ORRIN_API CLockedDataReference {
public:
  CLockedDataReference() noexcept = default;
  explicit CLockedDataReference(RObject<CByteArray> bytes) noexcept;

  std::size_t GetLength() const noexcept { return bytes_ ? bytes_->GetLength() : 0; }
  uint8_t* GetData() const noexcept { return bytes_ ? bytes_->GetData() : nullptr; }

private:
  RObject<CByteArray> bytes_;
};

class ORRIN_API CDataReference : public CObject {
public:
  explicit CDataReference(CByteArray* bytes) noexcept;
  ~CDataReference() override;

  CLockedDataReference GetLockedDataReference(int mode) const noexcept;
  // Bytes from one row to the next; 0 for data without rows.
  virtual long GetStride() const noexcept;

private:
  RObject<CByteArray> bytes_;
};

// A planar picture: luma rows `stride` bytes apart, the chroma planes after it as
// the stream's FourCC lays them out.
class ORRIN_API CPixelBufferDataReference : public CDataReference {
public:
  CPixelBufferDataReference(CByteArray* bytes, long width, long height, long stride) noexcept;

  long GetWidth() const noexcept { return width_; }
  long GetHeight() const noexcept { return height_; }
  long GetStride() const noexcept override;

private:
  long width_;
  long height_;
  long stride_;
};

}  // namespace Quorvane::Orrin
