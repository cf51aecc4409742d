#pragma once

// What every harness shares: the input as bytes, and a check that stops the run, naming the
// property that broke, so that libFuzzer keeps the input as a crash.

#include <QByteArrayView>
#include <cstdint>
#include <cstdio>
#include <cstdlib>

namespace quorvane::fuzz {

inline QByteArrayView bytesOf(const std::uint8_t* data, std::size_t size)
{
    return {reinterpret_cast<const char*>(data), static_cast<qsizetype>(size)};
}

[[noreturn]] inline void broken(const char* property, const char* file, int line)
{
    std::fprintf(stderr, "%s:%d: property does not hold: %s\n", file, line, property);
    std::abort();
}

} // namespace quorvane::fuzz

#define FUZZ_CHECK(condition)                                                                      \
    do {                                                                                           \
        if (!(condition))                                                                          \
            ::quorvane::fuzz::broken(#condition, __FILE__, __LINE__);                              \
    } while (false)
