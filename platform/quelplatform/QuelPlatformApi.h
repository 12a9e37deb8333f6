// Marks what libQuelPlatform exports. Everything without the mark is hidden.
#pragma once

#if !defined(__cplusplus) || __cplusplus < 202002L
#if !defined(_MSVC_LANG) || _MSVC_LANG < 202002L
#error "QuelCore needs C++20: compile with -std=c++20 or newer"
#endif
#endif

#if defined(_WIN32)
#if defined(QuelPlatform_EXPORTS)
#define QUELPLATFORM_API __declspec(dllexport)
#else
#define QUELPLATFORM_API __declspec(dllimport)
#endif
#else
#define QUELPLATFORM_API __attribute__((visibility("default")))
#endif
