#include "wire_messages.h"

#include "model/byte_reader.h"

#include <QString>

namespace quorvane::wire {

namespace {

constexpr quint16 signature = 0x1385;

void appendU16(QByteArray& bytes, quint16 value)
{
    bytes.append(static_cast<char>(value >> 8));
    bytes.append(static_cast<char>(value & 0xFF));
}

QByteArray fromHex(const char* hex)
{
    return QByteArray::fromHex(hex);
}

// 00 04, the sequence, then the command block and its payload.
QByteArray dataMessage(quint16 sequence, const char* blockHex, QByteArrayView payload)
{
    QByteArray message = fromHex("0004");
    appendU16(message, sequence);
    message += fromHex(blockHex);
    message += payload;
    return message;
}

// Every subscription shares the registration block and 16 zero bytes, then 20 bytes of its own.
constexpr const char* subscriptionBlock = "0002000800000024"
                                          "0000002e";

QByteArray subscription(quint16 sequence, QByteArrayView tail)
{
    return dataMessage(sequence, subscriptionBlock, QByteArray(QByteArray(16, '\0') + tail));
}

} // namespace

std::optional<quint16> messageType(QByteArrayView datagram)
{
    if (datagram.size() < 4)
        return std::nullopt;
    return ByteReader(datagram).u16(0);
}

std::optional<quint16> sourceResponseCode(QByteArrayView datagram)
{
    const ByteReader bytes(datagram);
    if (bytes.size() < 18 || bytes.u32(4) != 0x00020010)
        return std::nullopt;
    return bytes.u16(16);
}

bool isType(QByteArrayView datagram, MessageType type)
{
    return messageType(datagram) == static_cast<quint16>(type);
}

QString sequenceText(QByteArrayView datagram)
{
    const ByteReader bytes(datagram);
    return QString::number(bytes.u8(2)) + u'.' + QString::number(bytes.u8(3));
}

QByteArray ping()
{
    return fromHex("00010000");
}

QByteArray sync()
{
    return fromHex("00060000");
}

QByteArray ackFor(QByteArrayView received)
{
    const ByteReader bytes(received);
    QByteArray ack = fromHex("0002");
    ack.append(static_cast<char>(bytes.u8(2)));
    ack.append(static_cast<char>(bytes.u8(3)));
    return ack;
}

QByteArray clientIdFirst()
{
    return dataMessage(0x0001, "0002001f0000000b0000002c", fromHex("00010000"));
}

QByteArray clientIdSecond(quint16 sequence)
{
    return dataMessage(sequence, "0002001f0000000b0000002c", fromHex("00030000"));
}

QByteArray firstRegistration(quint16 sequence)
{
    return dataMessage(sequence, subscriptionBlock, QByteArray(16, '\0'));
}

QByteArray suiteRegistration(quint16 sequence, int suite)
{
    QByteArray payload = fromHex("1796020001000007000000");
    payload.append(static_cast<char>(2 * suite + 8));
    return dataMessage(sequence, "000200060000000c00000014", payload);
}

QByteArray secondSuiteRegistration(quint16 sequence)
{
    return dataMessage(sequence,
                       "0002000500000009"
                       "00000010",
                       fromHex("04b6000001000007"
                               "00"));
}

QByteArray writeRequest(quint16 sequence, quint16 buttonAddress, quint8 busCode, quint16 source)
{
    QByteArray payload;
    appendU16(payload, signature);
    payload += fromHex("010089");
    appendU16(payload, buttonAddress);
    payload.append(static_cast<char>(busCode));
    appendU16(payload, source);
    return dataMessage(sequence,
                       "00020006000000"
                       "0a00000012",
                       payload);
}

QByteArray sourceDefinitionsSubscription(quint16 sequence)
{
    return subscription(sequence, fromHex("0210"
                                          "000100040002"
                                          "00000000"
                                          "0010000162000000"));
}

QByteArray sourceNamesSubscription(quint16 sequence)
{
    return subscription(sequence, fromHex("020b"
                                          "000100040003"
                                          "00000000"
                                          "000c"
                                          "0001641b"
                                          "0000"));
}

QByteArray frameInfoSubscription(quint16 sequence)
{
    return subscription(sequence, fromHex("01fd"
                                          "000100040002"
                                          "00000000"
                                          "0008"
                                          "000101000001"));
}

QByteArray busPreamble(quint16 sequence)
{
    QByteArray tail = fromHex("0003"
                              "00010003000300000000");
    appendU16(tail, signature + 8);
    tail += fromHex("000001000007");
    return subscription(sequence, tail);
}

QByteArray buttonSubscription(quint16 sequence, quint16 subscriptionId, quint16 parameter,
                              quint8 busCode)
{
    QByteArray tail;
    appendU16(tail, subscriptionId);
    tail += fromHex("0001"
                    "0003"
                    "0003"
                    "00000000");
    appendU16(tail, signature);
    tail += fromHex("0000"
                    "89");
    appendU16(tail, parameter);
    tail.append(static_cast<char>(busCode));
    return subscription(sequence, tail);
}

} // namespace quorvane::wire
