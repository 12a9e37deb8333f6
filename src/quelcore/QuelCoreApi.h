// Marks what libQuelCore exports. Everything without the mark is hidden.
#pragma once

#if defined(_WIN32)
#if defined(QuelCore_EXPORTS)
#define QUELCORE_API __declspec(dllexport)
#else
#define QUELCORE_API __declspec(dllimport)
#endif
#else
#define QUELCORE_API __attribute__((visibility("default")))
#endif
