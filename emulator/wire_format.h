#pragma once

#include <QByteArrayView>
#include <QtGlobal>
#include <cstddef>

namespace quorvane::emulator {

// What every datagram in both directions starts with: type (2 bytes), sequence (2 bytes).
inline constexpr qsizetype headerSize = 4;

enum class MessageType : quint16 {
    ping = 0x0001,
    ack = 0x0002,
    data = 0x0004,
    sync = 0x0006,
};

// The frame's fixed ports. The dynamic port is chosen per emulator, above the announce port
// and within the range a client accepts from an ACK (up to 5999).
inline constexpr quint16 initialPort = 5000;
inline constexpr quint16 announcePort = 5001;
inline constexpr quint16 lastDynamicPort = 5999;

// A client reads at most this much of one datagram, so nothing the frame sends is longer.
inline constexpr qsizetype maxDatagramSize = 4096;

// Fixed wire bytes written as a string literal, embedded NULs included (a plain conversion
// from a literal would stop at the first NUL).
template <std::size_t N> constexpr QByteArrayView wireBytes(const char (&literal)[N])
{
    return QByteArrayView(literal, qsizetype(N - 1));
}

// The 12 bytes after the header of every DATA message the client sends (bytes 4 to 15).
namespace block {
inline constexpr QByteArrayView clientId =
    wireBytes("\x00\x02\x00\x1f\x00\x00\x00\x0b\x00\x00\x00\x2c");
inline constexpr QByteArrayView registration =
    wireBytes("\x00\x02\x00\x08\x00\x00\x00\x24\x00\x00\x00\x2e"); // also every subscription
inline constexpr QByteArrayView suiteRegistration =
    wireBytes("\x00\x02\x00\x06\x00\x00\x00\x0c\x00\x00\x00\x14");
inline constexpr QByteArrayView secondSuiteRegistration =
    wireBytes("\x00\x02\x00\x05\x00\x00\x00\x09\x00\x00\x00\x10");
inline constexpr QByteArrayView writeRequest =
    wireBytes("\x00\x02\x00\x06\x00\x00\x00\x0a\x00\x00\x00\x12");
} // namespace block

// Marks a button record, in write requests, subscriptions and the frame's button data alike.
inline constexpr quint16 buttonSignature = 0x1385;
inline constexpr quint8 buttonMarker = 0x89;

// The three source subscriptions name the message the client wants at bytes 32-33; the frame's
// answers carry the same number at bytes 16-17.
inline constexpr quint16 sourceDefinitionMessage = 0x0210;
inline constexpr quint16 sourceNameMessage = 0x020b;
inline constexpr quint16 frameInfoMessage = 0x01fd;

} // namespace quorvane::emulator
