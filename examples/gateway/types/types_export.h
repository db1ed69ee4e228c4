// What this library of types shows to others: to the gateway, which is linked with it.
#pragma once

#include "platform/export.h"

#if defined(ZORUTIL_STATIC)
#define GATEWAY_TYPES_API
#elif defined(_WIN32)
#if defined(GATEWAY_TYPES_BUILDING)
#define GATEWAY_TYPES_API __declspec(dllexport)
#else
#define GATEWAY_TYPES_API __declspec(dllimport)
#endif
#else
#define GATEWAY_TYPES_API __attribute__((visibility("default")))
#endif
