#include "client_messages.h"

#include "model/byte_reader.h"
#include "wire_format.h"

#include <algorithm>

using namespace Qt::StringLiterals;

namespace quorvane::emulator {

namespace {
constexpr qsizetype blockOffset = 4;
constexpr qsizetype blockSize = 12;
constexpr qsizetype payloadOffset = 16;

constexpr qsizetype clientIdSize = 20;
constexpr QByteArrayView clientIdFirstTail = wireBytes("\x00\x01\x00\x00");
constexpr QByteArrayView clientIdSecondTail = wireBytes("\x00\x03\x00\x00");
constexpr quint16 clientIdFirstSequence = 1;

constexpr qsizetype registrationSize = 32;
constexpr qsizetype subscriptionSize = 52;
constexpr qsizetype subscriptionTailOffset = 32;
constexpr qsizetype zeroLead = 16;

constexpr qsizetype suiteRegistrationSize = 28;
constexpr QByteArrayView suiteRegistrationPayload =
    wireBytes("\x17\x96\x02\x00\x01\x00\x00\x07\x00\x00\x00");
constexpr qsizetype secondSuiteRegistrationSize = 25;
constexpr QByteArrayView secondSuiteRegistrationPayload =
    wireBytes("\x04\xb6\x00\x00\x01\x00\x00\x07\x00");

// Bytes 32-51 of the subscriptions with fixed content.
constexpr QByteArrayView definitionSubscriptionTail =
    wireBytes("\x02\x10\x00\x01\x00\x04\x00\x02\x00\x00\x00\x00\x00\x10\x00\x01\x62\x00\x00\x00");
constexpr QByteArrayView nameSubscriptionTail =
    wireBytes("\x02\x0b\x00\x01\x00\x04\x00\x03\x00\x00\x00\x00\x00\x0c\x00\x01\x64\x1b\x00\x00");
constexpr QByteArrayView frameInfoSubscriptionTail =
    wireBytes("\x01\xfd\x00\x01\x00\x04\x00\x02\x00\x00\x00\x00\x00\x08\x00\x01\x01\x00\x00\x01");
constexpr QByteArrayView busPreambleTail =
    wireBytes("\x00\x03\x00\x01\x00\x03\x00\x03\x00\x00\x00\x00\x13\x8d\x00\x00\x01\x00\x00\x07");
// Bytes 34-48 of a button subscription; the id comes before, parameter and bus after.
constexpr QByteArrayView buttonSubscriptionMiddle =
    wireBytes("\x00\x01\x00\x03\x00\x03\x00\x00\x00\x00\x13\x85\x00\x00\x89");

constexpr qsizetype writeRequestSize = 26;
constexpr QByteArrayView writeRequestLead = wireBytes("\x13\x85\x01\x00\x89");

bool isZero(QByteArrayView bytes)
{
    return std::all_of(bytes.begin(), bytes.end(), [](char b) { return b == '\0'; });
}

ClientMessageKind dataKind(QByteArrayView datagram, ClientMessage& message)
{
    const ByteReader bytes(datagram);
    const qsizetype size = datagram.size();
    if (size < payloadOffset)
        return ClientMessageKind::otherData;
    const QByteArrayView block = datagram.sliced(blockOffset, blockSize);
    const QByteArrayView payload = datagram.sliced(payloadOffset);

    if (block == block::clientId && size == clientIdSize) {
        if (payload == clientIdFirstTail && message.sequence == clientIdFirstSequence)
            return ClientMessageKind::clientIdFirst;
        if (payload == clientIdSecondTail)
            return ClientMessageKind::clientIdSecond;
        return ClientMessageKind::otherData;
    }
    if (block == block::registration) {
        if (!isZero(payload.first(qMin(zeroLead, payload.size()))))
            return ClientMessageKind::otherData;
        if (size == registrationSize)
            return ClientMessageKind::registration;
        if (size != subscriptionSize)
            return ClientMessageKind::otherData;
        const QByteArrayView tail = datagram.sliced(subscriptionTailOffset);
        if (tail == definitionSubscriptionTail)
            return ClientMessageKind::sourceDefinitionSubscription;
        if (tail == nameSubscriptionTail)
            return ClientMessageKind::sourceNameSubscription;
        if (tail == frameInfoSubscriptionTail)
            return ClientMessageKind::frameInfoSubscription;
        if (tail == busPreambleTail)
            return ClientMessageKind::busPreamble;
        if (tail.sliced(2, buttonSubscriptionMiddle.size()) == buttonSubscriptionMiddle) {
            message.subscription = {bytes.u16(32), bytes.u16(49), bytes.u8(51)};
            return ClientMessageKind::buttonSubscription;
        }
        return ClientMessageKind::otherData;
    }
    if (block == block::suiteRegistration && size == suiteRegistrationSize &&
        payload.first(suiteRegistrationPayload.size()) == suiteRegistrationPayload) {
        // The last byte is 2 × suite + 8.
        const int code = bytes.u8(suiteRegistrationSize - 1);
        const int suite = (code - 8) / 2;
        if (code % 2 != 0 || suite < 1 || suite > 4)
            return ClientMessageKind::otherData;
        message.suite = suite;
        return ClientMessageKind::suiteRegistration;
    }
    if (block == block::secondSuiteRegistration && size == secondSuiteRegistrationSize &&
        payload == secondSuiteRegistrationPayload) {
        return ClientMessageKind::secondSuiteRegistration;
    }
    if (block == block::writeRequest && size == writeRequestSize &&
        payload.first(writeRequestLead.size()) == writeRequestLead) {
        message.write = {bytes.u16(21), bytes.u8(23), bytes.u16(24)};
        return ClientMessageKind::writeRequest;
    }
    return ClientMessageKind::otherData;
}
} // namespace

ClientMessage decodeClientMessage(QByteArrayView datagram)
{
    ClientMessage message;
    if (datagram.size() < headerSize)
        return message;
    const ByteReader bytes(datagram);
    message.type = bytes.u16(0);
    message.sequence = bytes.u16(2);
    switch (MessageType(message.type)) {
    case MessageType::ping:
        message.kind = ClientMessageKind::ping;
        break;
    case MessageType::sync:
        message.kind = ClientMessageKind::sync;
        break;
    case MessageType::ack:
        message.kind = ClientMessageKind::ack;
        break;
    case MessageType::data:
        message.kind = dataKind(datagram, message);
        break;
    default:
        message.kind = ClientMessageKind::unknownType;
        break;
    }
    return message;
}

QString kindName(ClientMessageKind kind)
{
    switch (kind) {
    case ClientMessageKind::tooShort:
        return u"too short"_s;
    case ClientMessageKind::ping:
        return u"PING"_s;
    case ClientMessageKind::sync:
        return u"SYNC"_s;
    case ClientMessageKind::ack:
        return u"ACK"_s;
    case ClientMessageKind::unknownType:
        return u"unknown type"_s;
    case ClientMessageKind::clientIdFirst:
        return u"ClientID (first form)"_s;
    case ClientMessageKind::clientIdSecond:
        return u"ClientID (second form)"_s;
    case ClientMessageKind::registration:
        return u"registration"_s;
    case ClientMessageKind::suiteRegistration:
        return u"suite registration"_s;
    case ClientMessageKind::secondSuiteRegistration:
        return u"second suite registration"_s;
    case ClientMessageKind::sourceDefinitionSubscription:
        return u"source definition subscription (0x0210)"_s;
    case ClientMessageKind::sourceNameSubscription:
        return u"source name subscription (0x020b)"_s;
    case ClientMessageKind::frameInfoSubscription:
        return u"frame info subscription (0x01fd)"_s;
    case ClientMessageKind::busPreamble:
        return u"bus preamble"_s;
    case ClientMessageKind::buttonSubscription:
        return u"button subscription"_s;
    case ClientMessageKind::writeRequest:
        return u"write request"_s;
    case ClientMessageKind::otherData:
        return u"unrecognised DATA"_s;
    }
    Q_UNREACHABLE();
    return {};
}

QString describe(const ClientMessage& message)
{
    QString text = kindName(message.kind);
    if (message.kind == ClientMessageKind::tooShort)
        return text;
    if (message.kind == ClientMessageKind::unknownType)
        text += QString::asprintf(" 0x%04x", message.type);
    text += u" seq "_s + QString::number(message.sequence >> 8) + u'.' +
            QString::number(message.sequence & 0xFF);
    switch (message.kind) {
    case ClientMessageKind::suiteRegistration:
        text += u" suite "_s + QString::number(message.suite);
        break;
    case ClientMessageKind::buttonSubscription:
        text += u" id "_s + QString::number(message.subscription.subscriptionId) +
                u" parameter "_s + QString::number(message.subscription.parameter) +
                QString::asprintf(" bus 0x%02x", message.subscription.busCode);
        break;
    case ClientMessageKind::writeRequest:
        text += u" parameter "_s + QString::number(message.write.parameter) +
                QString::asprintf(" bus 0x%02x", message.write.busCode) + u" source "_s +
                QString::number(message.write.source);
        break;
    default:
        break;
    }
    return text;
}

} // namespace quorvane::emulator
