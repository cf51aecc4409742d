#include "fault_injector.h"

namespace quorvane::emulator {

namespace {
constexpr int shortestGarbage = 1;
constexpr int longestGarbage = 96;
// Keeps the garbage sequence apart from the drop sequence for the same seed.
constexpr quint32 garbageSeedOffset = 0x9e3779b9;
} // namespace

FaultInjector::FaultInjector(const FaultOptions& options)
    : m_dropFraction(options.dropFraction)
    , m_dropRandom(options.seed)
    , m_garbageRandom(options.seed ^ garbageSeedOffset)
{
}

bool FaultInjector::dropsNext()
{
    return m_dropRandom.generateDouble() < m_dropFraction;
}

QByteArray FaultInjector::garbage()
{
    const int size = m_garbageRandom.bounded(shortestGarbage, longestGarbage + 1);
    QByteArray bytes(size, '\0');
    for (char& byte : bytes)
        byte = static_cast<char>(m_garbageRandom.bounded(256));
    return bytes;
}

} // namespace quorvane::emulator
