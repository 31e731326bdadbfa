#pragma once

/// Marks what a shared library of the host offers to others. Everything else is built hidden; on ELF the
/// same attribute serves the library that defines a symbol and the one that uses it.
#define ORVEX_EXPORT __attribute__((visibility("default")))
