// Marks what libQuelPlatform exports. Everything without the mark is hidden.
#pragma once

#if defined(_WIN32)
#if defined(QuelPlatform_EXPORTS)
#define QUELPLATFORM_API __declspec(dllexport)
#else
#define QUELPLATFORM_API __declspec(dllimport)
#endif
#else
#define QUELPLATFORM_API __attribute__((visibility("default")))
#endif
