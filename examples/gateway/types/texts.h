// What the gateway's types say to people, in the language they ask for: gateway_types.*.lang.
#pragma once

#include <memory>

#include "util/i18n/localized_message.h"
#include "util/tagproc/scaling.h"

namespace gateway {

/// Why a tag cannot be scaled as it is set up. Not for CScaling::VALID.
std::unique_ptr<i18n::ILocalizedMessage> MakeScalingMessage(CScaling::SCALINGRESULT verdict);

}  // namespace gateway
