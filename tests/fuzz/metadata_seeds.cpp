// Writes the metadata fuzzer's seed corpus: valid streams of a few shapes, one file
// each, into the folder given as the only argument.

#include "base/CData.h"
#include "zm/CMetaData.h"

#include <cstdio>
#include <random>
#include <string>
#include <vector>

namespace {

KX::CString text(const std::string& s) { return KX::CString(static_cast<int>(s.size()), s.data(), KX::kCopy); }

bool writeSeed(const std::string& folder, int index, const KX::CData& stream) {
  const std::string path = folder + "/seed-" + std::to_string(index);
  std::FILE* f = std::fopen(path.c_str(), "wb");
  if (f == nullptr) {
    std::perror(path.c_str());
    return false;
  }
  const size_t n = static_cast<size_t>(stream.getUsed());
  const bool ok = (n == 0 || std::fwrite(stream.getBuffer(), 1, n, f) == n) && std::fclose(f) == 0;
  if (!ok) std::perror(path.c_str());
  return ok;
}

}  // namespace

int main(int argc, char** argv) {
  if (argc != 2) {
    std::fprintf(stderr, "usage: %s <seed folder>\n", argv[0]);
    return 2;
  }
  std::vector<KX::CData> seeds;
  auto add = [&seeds](const KX::ZM::CMetaData& m) {
    KX::CData d;
    d << m;
    seeds.push_back(d);
  };

  add(KX::ZM::CMetaData());
  KX::ZM::CMetaData example;
  example.addMeta(text("b"), text("2"));
  example.addMeta(text("a"), text("1"));
  add(example);

  KX::ZM::CMetaData media;
  media.addMeta(text("codec"), text("IYUV"));
  media.addMeta(text("alpha"), KX::CString());
  media.addMeta(text(std::string("bin\0ary", 7)), text(std::string(300, 'x')));
  add(media);

  std::mt19937 rng(7);
  for (int i = 0; i < 8; ++i) {
    KX::ZM::CMetaData m;
    for (int n = static_cast<int>(rng() % 12); n > 0; --n) {
      std::string key(rng() % 10, '\0');
      std::string value(rng() % 40, '\0');
      for (char& c : key) c = static_cast<char>(rng());
      for (char& c : value) c = static_cast<char>(rng());
      m.addMeta(text(key), text(value));
    }
    add(m);
  }

  // Two metadata back to back, the second with a key that comes twice.
  KX::CData joined;
  joined << example;
  joined.putUInt32(2);
  joined << text("k") << text("first") << text("k") << text("second");
  seeds.push_back(joined);

  for (size_t i = 0; i < seeds.size(); ++i) {
    if (!writeSeed(argv[1], static_cast<int>(i), seeds[i])) return 1;
  }
  return 0;
}
