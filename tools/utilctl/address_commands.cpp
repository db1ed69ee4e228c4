// utilctl address: what a text means as an address, with the reading that configurations get.
#include <algorithm>
#include <memory>
#include <optional>
#include <string>
#include <vector>

#include "platform/zorplatform/exception.h"
#include "platform/zorplatform/host_resolver.h"
#include "platform/zorplatform/text_parse.h"
#include "tools/utilctl/command_functions.h"
#include "util/net/net_ops.h"
#include "util/net/tcp_addr.h"

namespace utilctl {

namespace json = zorutil::json;

namespace {

// Knows no host, so that reading a text fails where somebody would have to be asked, and tells that.
struct nobody_t : zorplatform::IHostResolver {
  std::vector<std::uint32_t> FindAddresses(const std::string&, std::uint16_t) const override {
    isAsked = true;
    return {};
  }
  mutable bool isAsked = false;
};

struct reading_t {
  CString host;
  std::uint16_t port = 0;          ///< 0 without one
  std::optional<CIpAddr> address;  ///< none for a host name
  std::string problem;             ///< in the library's words; empty when there is none
};

// Without asking anybody.
reading_t Read(const CString& text) {
  reading_t reading{text, 0, {}, {}};
  const int colon = text.Find(u':');
  const auto nobody = std::make_shared<nobody_t>();
  const auto before = zorplatform::SetHostResolver(nobody);
  try {
    if (colon >= 0) {
      reading.host = text.Left(colon);
      reading.address = CTcpAddr(text).GetAddr();
    } else {
      reading.address = CIpAddr(text);
    }
  } catch (const zorplatform::CException& error) {
    if (!nobody->isAsked) reading.problem = error.what();
  }
  zorplatform::SetHostResolver(before);
  if (colon >= 0 && reading.problem.empty()) {
    reading.port = static_cast<std::uint16_t>(zorplatform::_ttoui(text.Mid(colon + 1)));
  }
  return reading;
}

void Show(CReport& report, const char16_t* name, const std::string& text, CVariant value) {
  std::string line = CString(name).ToUtf8();
  line.resize(12, ' ');
  report.text += line + text + '\n';
  AddMember(report.result, name, std::move(value));
}
void Show(CReport& report, const char16_t* name, const CString& text) {
  Show(report, name, Printable(text.ToUtf8()), CVariant(text));
}
void Show(CReport& report, const char16_t* name, bool value) {
  Show(report, name, value ? "yes" : "no", CVariant::FromBool(value));
}

// Each address once, the first one first; the resolver names one for each socket type.
void Resolve(CReport& report, reading_t& reading) {
  json::array_t list;
  std::string line;
  std::vector<CIpAddr> shown;
  for (const CIpAddr& each : zorutil::CNetOps::AddressesFromHostname(reading.host, reading.port)) {
    if (std::find(shown.begin(), shown.end(), each) != shown.end()) continue;
    shown.push_back(each);
    line += (line.empty() ? "" : " ") + each.ToString().ToUtf8();
    list.elements.push_back(std::make_shared<json::scalar_t>(CVariant(each.ToString())));
  }
  if (shown.empty()) {
    reading.problem = "the host \"" + reading.host.ToUtf8() + "\" has no IPv4 address, or nobody knows it";
    return;
  }
  reading.address = shown.front();
  report.text += "resolved    " + line + '\n';
  AddMember(report.result, u"resolved", std::move(list));
}

}  // namespace

exit_t CheckAddress(CCall& call) {
  reading_t reading = Read(CString(call.Get("TEXT")));
  CReport& report = call.report;
  if (reading.problem.empty()) {
    const bool isName = !reading.address.has_value();
    Show(report, u"kind", isName ? CString(u"host name") : CString(u"IPv4 address"));
    if (isName) Show(report, u"host", reading.host);
    if (isName && call.Has("--resolve")) Resolve(report, reading);
    if (reading.address) Show(report, u"address", reading.address->ToString());
    if (reading.port != 0) Show(report, u"port", std::to_string(reading.port), CVariant::FromInt32(reading.port));
    if (reading.address) Show(report, u"loopback", reading.address->IsLocalHost());
  }
  if (reading.problem.empty()) {
    if (reading.address ? !reading.address->IsValid() : !CIpAddr::IsValidHostName(reading.host)) {
      reading.problem = reading.address ? reading.address->ToString().ToUtf8() + " is the address of no single host"
                                        : '"' + reading.host.ToUtf8() + "\" has not the form of a host name";
    }
  }
  Show(report, u"valid", reading.problem.empty());
  if (!reading.problem.empty()) report.Add({"", 0, 0, "", reading.problem});
  return call.GetExit();
}

}  // namespace utilctl
