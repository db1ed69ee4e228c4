// Base64 both ways beside Abseil and modp_b64; every side writes over the result of the time before. Ours is UTF-16
// text, twice the bytes of the others'.
#include <benchmark/benchmark.h>

#include <cstdint>
#include <random>
#include <string>

#include "platform/framework/cstring.h"
#include "platform/zorplatform/growable_buffer.h"
#include "util/values/base64.h"

#if ZORUTIL_BENCH_ABSL
#include <absl/strings/escaping.h>
#endif
#if ZORUTIL_BENCH_MODP_B64
#include <modp_b64.h>
#endif

namespace {

std::string Bytes(std::size_t size) {
  std::mt19937 random(1);
  std::string bytes(size, '\0');
  for (char& byte : bytes) byte = static_cast<char>(random());
  return bytes;
}

CString EncodedWide(const std::string& bytes) {
  CString text;
  zorutil::base64_encode(reinterpret_cast<const unsigned char*>(bytes.data()), static_cast<unsigned>(bytes.size()),
                         text);
  return text;
}

void EncodeOurs(benchmark::State& state, const std::string& bytes) {
  const auto* const data = reinterpret_cast<const unsigned char*>(bytes.data());
  CString text;
  for (auto _ : state) {
    zorutil::base64_encode(data, static_cast<unsigned>(bytes.size()), text);
    benchmark::DoNotOptimize(text);
    benchmark::ClobberMemory();
  }
}
void DecodeOurs(benchmark::State& state, const std::string& bytes) {
  const CString text = EncodedWide(bytes);
  zorplatform::CGrowableBuffer out;
  for (auto _ : state) {
    zorutil::base64_decode(text, out);
    benchmark::DoNotOptimize(out);
    benchmark::ClobberMemory();
  }
  if (std::string_view(reinterpret_cast<const char*>(out.GetData()), out.GetSize()) != bytes) {
    state.SkipWithError("decoded other bytes");
  }
}

#if ZORUTIL_BENCH_ABSL
void EncodeAbsl(benchmark::State& state, const std::string& bytes) {
  std::string text;
  for (auto _ : state) {
    absl::Base64Escape(bytes, &text);
    benchmark::DoNotOptimize(text);
    benchmark::ClobberMemory();
  }
}
void DecodeAbsl(benchmark::State& state, const std::string& bytes) {
  const std::string text = EncodedWide(bytes).ToUtf8();
  std::string out;
  for (auto _ : state) {
    bool decoded = absl::Base64Unescape(text, &out);
    benchmark::DoNotOptimize(decoded);
    benchmark::DoNotOptimize(out);
    benchmark::ClobberMemory();
  }
}
#endif

#if ZORUTIL_BENCH_MODP_B64
void EncodeModp(benchmark::State& state, const std::string& bytes) {
  std::string text(modp_b64_encode_len(bytes.size()), '\0');
  for (auto _ : state) {
    std::size_t length = modp_b64_encode(text.data(), bytes.data(), bytes.size());
    benchmark::DoNotOptimize(length);
    benchmark::ClobberMemory();
  }
}
void DecodeModp(benchmark::State& state, const std::string& bytes) {
  const std::string text = EncodedWide(bytes).ToUtf8();
  std::string out(modp_b64_decode_len(text.size()), '\0');
  for (auto _ : state) {
    std::size_t length = modp_b64_decode(out.data(), text.data(), text.size());
    benchmark::DoNotOptimize(length);
    benchmark::ClobberMemory();
  }
}
#endif

[[maybe_unused]] const bool registered = [] {
  for (const std::size_t size : {24, 1024, 65536}) {
    const std::string bytes = Bytes(size);
    const std::string what = size < 1024 ? std::to_string(size) + " B/" : std::to_string(size / 1024) + " KiB/";
    const auto add = [&](const char* row, const char* who, void (*run)(benchmark::State&, const std::string&)) {
      benchmark::RegisterBenchmark((row + what + who).c_str(), run, bytes);
    };
    add("base64 encode ", "ours", EncodeOurs);
    add("base64 decode ", "ours", DecodeOurs);
#if ZORUTIL_BENCH_ABSL
    add("base64 encode ", "Abseil", EncodeAbsl);
    add("base64 decode ", "Abseil", DecodeAbsl);
#endif
#if ZORUTIL_BENCH_MODP_B64
    add("base64 encode ", "modp_b64", EncodeModp);
    add("base64 decode ", "modp_b64", DecodeModp);
#endif
  }
  return true;
}();

}  // namespace
