// Marks what libQuelCore exports. Everything without the mark is hidden.
#pragma once

#if !defined(__cplusplus) || __cplusplus < 202002L
#if !defined(_MSVC_LANG) || _MSVC_LANG < 202002L
#error "QuelCore needs C++20: compile with -std=c++20 or newer"
#endif
#endif

#if defined(_WIN32)
#if defined(QuelCore_EXPORTS)
#define QUELCORE_API __declspec(dllexport)
#else
#define QUELCORE_API __declspec(dllimport)
#endif
#define QUELCORE_LOCAL
#else
#define QUELCORE_API __attribute__((visibility("default")))
/// Keeps a private member of an exported class out of the library's exported names.
#define QUELCORE_LOCAL __attribute__((visibility("hidden")))
#endif
