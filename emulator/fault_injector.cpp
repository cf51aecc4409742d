#include "fault_injector.h"

namespace quorvane::emulator {

namespace {
constexpr int shortestGarbage = 1;
constexpr int longestGarbage = 96;
// Keep the random sequences apart from one another for the same seed.
constexpr quint32 garbageSeedOffset = 0x9e3779b9;
constexpr quint32 dropSentSeedOffset = 0x85ebca6b;
constexpr quint32 reorderSeedOffset = 0xc2b2ae35;
constexpr quint32 corruptSeedOffset = 0x27d4eb2f;
constexpr quint32 ignoreWriteSeedOffset = 0x165667b1;
} // namespace

FaultInjector::FaultInjector(const FaultOptions& options)
    : m_dropFraction(options.dropFraction)
    , m_dropSentFraction(options.dropSentFraction)
    , m_reorderWindowMs(options.reorderWindowMs)
    , m_corruptSourceFraction(options.corruptSourceFraction)
    , m_ignoredWriteFraction(options.ignoredWriteFraction)
    , m_dropRandom(options.seed)
    , m_dropSentRandom(options.seed ^ dropSentSeedOffset)
    , m_reorderRandom(options.seed ^ reorderSeedOffset)
    , m_garbageRandom(options.seed ^ garbageSeedOffset)
    , m_corruptRandom(options.seed ^ corruptSeedOffset)
    , m_ignoreWriteRandom(options.seed ^ ignoreWriteSeedOffset)
{
}

void FaultInjector::setDropFractions(double received, double sent)
{
    m_dropFraction = received;
    m_dropSentFraction = sent;
}

bool FaultInjector::dropsNext()
{
    return m_dropRandom.generateDouble() < m_dropFraction;
}

bool FaultInjector::dropsNextSent()
{
    return m_dropSentFraction > 0 && m_dropSentRandom.generateDouble() < m_dropSentFraction;
}

bool FaultInjector::ignoresNextWrite()
{
    return m_ignoredWriteFraction > 0 &&
           m_ignoreWriteRandom.generateDouble() < m_ignoredWriteFraction;
}

int FaultInjector::reorderDelayMs()
{
    return m_reorderWindowMs > 0 ? m_reorderRandom.bounded(m_reorderWindowMs + 1) : 0;
}

quint32 FaultInjector::answeredSource(quint32 source)
{
    if (m_corruptSourceFraction <= 0 || m_corruptRandom.generateDouble() >= m_corruptSourceFraction)
        return source;
    // High halves up to 0xfffe never make the reserved 0xfffffffe and 0xffffffff.
    const quint32 highHalf = m_corruptRandom.bounded(1u, 0xFFFFu);
    return (highHalf << 16) | (source & 0xFFFFu);
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
