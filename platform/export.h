// The export macros of the two libraries. Everything is hidden unless it carries one of them.
#pragma once

#if defined(ZORUTIL_STATIC)
#define ZORPLATFORM_API
#define ZORUTIL_API
#elif defined(_WIN32)
#if defined(ZORPLATFORM_BUILDING)
#define ZORPLATFORM_API __declspec(dllexport)
#else
#define ZORPLATFORM_API __declspec(dllimport)
#endif
#if defined(ZORUTIL_BUILDING)
#define ZORUTIL_API __declspec(dllexport)
#else
#define ZORUTIL_API __declspec(dllimport)
#endif
#else
/// On a declaration: exported from libzorplatform, or taken from it; nothing in static builds.
#define ZORPLATFORM_API __attribute__((visibility("default")))
/// On a declaration: exported from libzorutil, or taken from it; nothing in static builds.
#define ZORUTIL_API __attribute__((visibility("default")))
#endif

// Private parts of an exported class.
#if defined(_WIN32)
#define ZORUTIL_HIDDEN
#else
#define ZORUTIL_HIDDEN __attribute__((visibility("hidden")))
#endif

// What the tests of a folder call, and nobody else: exported where tests are built.
#if defined(ZORUTIL_TESTING)
#define ZORPLATFORM_TEST_API ZORPLATFORM_API
#define ZORUTIL_TEST_API ZORUTIL_API
#else
#define ZORPLATFORM_TEST_API
#define ZORUTIL_TEST_API
#endif
