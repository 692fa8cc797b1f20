// libFuzzer target: metadata extraction from arbitrary bytes. Built and run by
// scripts/fuzz-metadata.sh with ASan and UBSan.
//
// The stream is read as consecutive metadata until it ends or a read fails. A failed
// read must leave its target empty and the cursor where the read began; a successful
// one must write back into bytes that read back to the same entries and, written
// again, to the same bytes.

#include "base/CData.h"
#include "base/CException.h"
#include "zm/CMetaData.h"

#include <cstdint>
#include <cstdio>
#include <cstdlib>

namespace {

void require(bool ok, const char* what) {
  if (!ok) {
    std::fprintf(stderr, "metadata_fuzzer: %s\n", what);
    std::abort();
  }
}

void checkRoundTrip(const KX::ZM::CMetaData& m) {
  KX::CData written;
  written << m;
  written.reset();
  KX::ZM::CMetaData reread;
  written >> reread;
  require(written.isAtEnd(), "reading back stopped before the end of what was written");
  require(reread.getMetaMap() == m.getMetaMap(), "entries changed on the way through a stream");
  KX::CData rewritten;
  rewritten << reread;
  require(rewritten == written, "writing the same entries twice gave different bytes");
}

}  // namespace

extern "C" int LLVMFuzzerTestOneInput(const uint8_t* bytes, size_t size) {
  if (size > INT32_MAX) return 0;
  KX::CData stream(static_cast<int>(size), const_cast<uint8_t*>(bytes), KX::kCopy);
  while (!stream.isAtEnd()) {
    const int before = stream.getRemaining();
    KX::ZM::CMetaData m;
    m.addMeta(KX::CString::createWithCString("stale", KX::kCopy), KX::CString());
    try {
      stream >> m;
    } catch (const KX::CException&) {
      require(m.getMetaMap().empty(), "a failed read left entries in its target");
      require(stream.getRemaining() == before, "a failed read moved the cursor");
      return 0;
    }
    require(stream.getRemaining() < before, "a successful read consumed nothing");
    checkRoundTrip(m);
  }
  return 0;
}
