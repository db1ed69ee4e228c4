// Messages into text, beside what other libraries offer for it: a translated template with places for arguments.
#include <benchmark/benchmark.h>

#include <cstdio>
#include <memory>
#include <string>
#include <vector>

#include "bench/opaque.h"
#include "util/i18n/localized_message.h"
#include "util/i18n/message_ids.h"

#if ZORUTIL_BENCH_QT
#include <QCoreApplication>
#include <QString>
#include <QTranslator>
#endif
#if ZORUTIL_BENCH_POCO
#include <Poco/Format.h>
#endif

namespace {

constexpr char kName[] = "Boiler house/Feed water pump 2";
constexpr int kErrors = 1234;

// The same sentence for everybody: a name and a number.
const std::shared_ptr<const i18n::CLanguageModule>& Module() {
  static const auto module =
      i18n::CLanguageModule::Register(u"bench", "[Texts]\n1 = The device %s has answered with %d errors.\n", nullptr);
  return module;
}

std::vector<CVariant> Arguments() { return {kName, CVariant::FromInt32(kErrors)}; }

void RenderOurs(benchmark::State& state, unsigned short language) {
  i18n::CLocalizedMessage message(i18n::CLocalizedResource(Module(), 1), Arguments());
  i18n::ILocalizedMessage* const at = Opaque(static_cast<i18n::ILocalizedMessage*>(&message));
  for (auto _ : state) {
    CString text = at->GetMessageText(language);
    benchmark::DoNotOptimize(text);
  }
}

void MakeAndRenderOurs(benchmark::State& state) {
  for (auto _ : state) {
    const auto message = i18n::MakeLocalizedMessage(i18n::IDS_VALUE_OUT_OF_RANGE, {u"0", u"100"});
    CString text = message->GetMessageText(0);
    benchmark::DoNotOptimize(text);
  }
}

void LookUpOurs(benchmark::State& state) {
  const i18n::CLocalizedResource resource(i18n::IDS_VALUE_OUT_OF_RANGE);
  const i18n::CLocalizedResource* const at = Opaque(&resource);
  for (auto _ : state) {
    CString text = at->GetText(i18n::kLanguageGerman);
    benchmark::DoNotOptimize(text);
  }
}

void RenderSnprintf(benchmark::State& state) {
  const char* const form = Opaque("The device %s has answered with %d errors.");
  const char* const name = Opaque(static_cast<const char*>(kName));
  for (auto _ : state) {
    char text[256];
    std::string made(text, static_cast<std::size_t>(std::snprintf(text, sizeof text, form, name, kErrors)));
    benchmark::DoNotOptimize(made);
  }
}

#if ZORUTIL_BENCH_QT
// A translation that is at hand: Qt is spared the search in a loaded file.
class CTranslator : public QTranslator {
 public:
  QString translate(const char*, const char*, const char*, int) const override { return text_; }
  bool isEmpty() const override { return false; }

 private:
  QString text_ = QStringLiteral("The device %1 has answered with %2 errors.");
};

void RenderQt(benchmark::State& state) {
  static int argc = 1;
  static char program[] = "bench";
  static char* argv[] = {program, nullptr};
  static QCoreApplication application(argc, argv);
  static CTranslator translator;
  static const bool isInstalled = QCoreApplication::installTranslator(&translator);
  if (!isInstalled) return state.SkipWithError("no translator");
  const QString name = QString::fromLatin1(kName);
  for (auto _ : state) {
    QString text =
        QCoreApplication::translate("context", "The device %1 has answered with %2 errors.").arg(name).arg(kErrors);
    benchmark::DoNotOptimize(text);
  }
}

#endif

#if ZORUTIL_BENCH_POCO
void RenderPoco(benchmark::State& state) {
  const std::string form = "The device %s has answered with %d errors.", name = kName;
  for (auto _ : state) {
    std::string text = Poco::format(form, name, kErrors);
    benchmark::DoNotOptimize(text);
  }
}
#endif

[[maybe_unused]] const bool isRegistered = [] {
  using benchmark::RegisterBenchmark;
  RegisterBenchmark("message with two arguments/ours", [](auto& s) { RenderOurs(s, 0); });
  RegisterBenchmark("message with two arguments/ours, other language",
                    [](auto& s) { RenderOurs(s, i18n::kLanguageGerman); });
  RegisterBenchmark("message with two arguments/ours, made first", MakeAndRenderOurs);
  RegisterBenchmark("message with two arguments/snprintf", RenderSnprintf);
#if ZORUTIL_BENCH_QT
  RegisterBenchmark("message with two arguments/QString", RenderQt);
#endif
#if ZORUTIL_BENCH_POCO
  RegisterBenchmark("message with two arguments/POCO", RenderPoco);
#endif
  RegisterBenchmark("text of a number/ours", LookUpOurs);
  return true;
}();

}  // namespace
