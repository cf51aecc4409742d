#pragma once

#include <QByteArray>
#include <QByteArrayView>
#include <optional>

namespace quorvane::wire {

// Every datagram opens with a 4-byte header, big-endian: type (2), sequence (2).
enum class MessageType : quint16 { ping = 0x0001, ack = 0x0002, data = 0x0004, sync = 0x0006 };

// The type of a received datagram, or none when it is shorter than a header.
std::optional<quint16> messageType(QByteArrayView datagram);
bool isType(QByteArrayView datagram, MessageType type);

// Answers to the source subscriptions carry 00 02 00 10 at bytes 4-7 and the subscribed
// message (0x0210 or 0x020b) at bytes 16-17. Returns that message, or none for other datagrams.
std::optional<quint16> sourceResponseCode(QByteArrayView datagram);
inline constexpr quint16 sourceDefinitionsCode = 0x0210;
inline constexpr quint16 sourceNamesCode = 0x020b;

// The sequence bytes as the log shows them: "4.144" for 0x0490.
QString sequenceText(QByteArrayView datagram);

QByteArray ping();                          // 00 01 00 00
QByteArray sync();                          // 00 06 00 00
QByteArray ackFor(QByteArrayView received); // 00 02 + the received sequence bytes

// DATA messages carry a sequence from the connection's counter (the first ClientID excepted),
// a 12-byte block naming the command, then the command's payload.
QByteArray clientIdFirst();                  // to port 5000, fixed sequence 1
QByteArray clientIdSecond(quint16 sequence); // to the dynamic port
QByteArray firstRegistration(quint16 sequence);
QByteArray suiteRegistration(quint16 sequence, int suite);
QByteArray secondSuiteRegistration(quint16 sequence);

// Sets one button to a source: 26 bytes.
QByteArray writeRequest(quint16 sequence, quint16 buttonAddress, quint8 busCode, quint16 source);

// Subscriptions: 52 bytes each.
QByteArray sourceDefinitionsSubscription(quint16 sequence); // answered with 0x0210
QByteArray sourceNamesSubscription(quint16 sequence);       // answered with 0x020b
QByteArray frameInfoSubscription(quint16 sequence);         // answered with 0x01fd
QByteArray busPreamble(quint16 sequence);
QByteArray buttonSubscription(quint16 sequence, quint16 subscriptionId, quint16 parameter,
                              quint8 busCode);

} // namespace quorvane::wire
