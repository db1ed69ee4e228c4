// Addresses from and to text beside Boost.Asio, POCO and the system's inet_pton and inet_ntop: 1024 random addresses,
// one after another, and texts that are none. Ours is UTF-16, twice the bytes of the others'. Every printed text is a
// new string.
#include <arpa/inet.h>
#include <benchmark/benchmark.h>

#include <cstdint>
#include <random>
#include <string>
#include <vector>

#include "platform/framework/cstring.h"
#include "util/net/ip_addr.h"

#if ZORUTIL_BENCH_BOOST
#include <boost/asio/ip/address_v4.hpp>
#endif
#if ZORUTIL_BENCH_POCO_NET
#include <Poco/Net/IPAddress.h>
#endif

namespace {

constexpr std::size_t kCount = 1024;

std::vector<std::uint32_t> Addresses() {
  std::mt19937 random(1);
  std::vector<std::uint32_t> addresses(kCount);
  for (auto& each : addresses) each = static_cast<std::uint32_t>(random());
  return addresses;
}

std::vector<CString> Texts(bool isRight) {
  std::vector<CString> texts;
  for (const std::uint32_t each : Addresses()) {
    texts.push_back(CIpAddr(each).ToString());
    if (!isRight) texts.back() += u".1";
  }
  return texts;
}

std::vector<std::string> NarrowTexts(bool isRight) {
  std::vector<std::string> texts;
  for (const CString& each : Texts(isRight)) texts.push_back(each.ToUtf8());
  return texts;
}

// `parse` tells whether the text is an address, and writes it.
template <class Text, class Parse>
void ParseEach(benchmark::State& state, const std::vector<Text>& texts, bool isRight, Parse parse) {
  std::size_t next = 0;
  bool isAsExpected = true;
  for (auto _ : state) {
    std::uint32_t raw = 0;
    isAsExpected &= parse(texts[next++ % kCount], raw) == isRight;
    benchmark::DoNotOptimize(raw);
  }
  if (!isAsExpected) state.SkipWithError("read other than expected");
}

template <class Address, class Print>
void PrintEach(benchmark::State& state, const std::vector<Address>& addresses, Print print) {
  std::size_t next = 0;
  for (auto _ : state) benchmark::DoNotOptimize(print(addresses[next++ % kCount]));
}

[[maybe_unused]] const bool registered = [] {
  for (const bool isRight : {true, false}) {
    const std::string row = isRight ? "text to IPv4 address/" : "no IPv4 address/";
    const auto add = [&](const char* who, auto texts, auto parse) {
      benchmark::RegisterBenchmark((row + who).c_str(),
                                   [=](benchmark::State& state) { ParseEach(state, texts, isRight, parse); });
    };
    add("ours", Texts(isRight),
        [](const CString& text, std::uint32_t& raw) { return CIpAddr::FromDottedQuad(text, raw); });
    add("inet_pton", NarrowTexts(isRight),
        [](const std::string& text, std::uint32_t& raw) { return inet_pton(AF_INET, text.c_str(), &raw) == 1; });
#if ZORUTIL_BENCH_BOOST
    add("Boost.Asio", NarrowTexts(isRight), [](const std::string& text, std::uint32_t& raw) {
      boost::system::error_code error;
      raw = boost::asio::ip::make_address_v4(text, error).to_uint();
      return !error;
    });
#endif
#if ZORUTIL_BENCH_POCO_NET
    add("POCO", NarrowTexts(isRight), [](const std::string& text, std::uint32_t& raw) {
      Poco::Net::IPAddress address;
      if (!Poco::Net::IPAddress::tryParse(text, address)) return false;
      raw = static_cast<const in_addr*>(address.addr())->s_addr;
      return true;
    });
#endif
  }
  const auto add = [](const char* who, auto make, auto print) {
    std::vector<decltype(make(0u))> addresses;
    for (const std::uint32_t each : Addresses()) addresses.push_back(make(each));
    benchmark::RegisterBenchmark((std::string("IPv4 address to text/") + who).c_str(),
                                 [=](benchmark::State& state) { PrintEach(state, addresses, print); });
  };
  add(
      "ours", [](std::uint32_t raw) { return CIpAddr(raw); }, [](const CIpAddr& each) { return each.ToString(); });
  add(
      "inet_ntop", [](std::uint32_t raw) { return in_addr{raw}; },
      [](const in_addr& each) {
        char text[INET_ADDRSTRLEN];
        return std::string(inet_ntop(AF_INET, &each, text, sizeof text));
      });
#if ZORUTIL_BENCH_BOOST
  add(
      "Boost.Asio", [](std::uint32_t raw) { return boost::asio::ip::address_v4(ntohl(raw)); },
      [](const boost::asio::ip::address_v4& each) { return each.to_string(); });
#endif
#if ZORUTIL_BENCH_POCO_NET
  add(
      "POCO", [](std::uint32_t raw) { return Poco::Net::IPAddress(&raw, sizeof raw); },
      [](const Poco::Net::IPAddress& each) { return each.toString(); });
#endif
  return true;
}();

}  // namespace
