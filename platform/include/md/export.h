#pragma once

/// @file
/// What a shared library shows.

/// Marks what a shared library shows to the outside. Everything is built with hidden visibility, so a name
/// without this mark stays private to the library that defines it.
#define MD_API __attribute__((visibility("default")))

/// Keeps what lies inside a marked class private all the same.
#define MD_PRIVATE __attribute__((visibility("hidden")))
