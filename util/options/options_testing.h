// For tests and benchmarks: settings that anybody may read and write, handlers that are functions, levels from a text.
//
//   COpenOptions group;                       // of section "S"
//   LoadSettings("[S]\nRate=250");
//   group.ReadDWord(u"Rate", 1000);
#pragma once

#include <cstddef>
#include <functional>
#include <span>
#include <string>
#include <utility>

#include "platform/framework/mem_file.h"
#include "util/options/options.h"
#include "util/options/options_container.h"

class COpenOptions : public COptions {
 public:
  explicit COpenOptions(level_t level = LEVEL_1, const char16_t* section = u"S") : COptions(section, level) {}
  void QueryKeys(CStringArray&) const override {}
  using COptions::ReadDWord;
  using COptions::ReadString;
  using COptions::WriteDWord;
  using COptions::WriteString;
};

class CCountingHandler : public COptions::IChangeHandler {
 public:
  explicit CCountingHandler(std::function<void()> action = {}) : action_(std::move(action)) {}
  void OnOptionsChanged(COptions&) override {
    ++calls;
    if (action_) action_();
  }
  int calls = 0;

 private:
  std::function<void()> action_;
};

inline void LoadSettings(const std::string& ini, COptions::level_t level = COptions::LEVEL_1) {
  CMemFile file(std::as_bytes(std::span(ini)));
  COptionsContainer::GetInstance().LoadSettings(level, &file, COptionsContainer::FORMAT_INI);
}
