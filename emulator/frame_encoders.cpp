#include "frame_encoders.h"

#include "byte_writer.h"
#include "diagnostics/programming_error.h"
#include "model/byte_reader.h"

namespace quorvane::emulator {

namespace {
// Replies to the source subscriptions: bytes 4-15.
constexpr QByteArrayView nameReplyBlock =
    wireBytes("\x00\x02\x00\x10\x00\x00\x00\x00\x00\x00\x00\x00");
constexpr QByteArrayView frameInfoBlock =
    wireBytes("\x00\x02\x00\x0c\x00\x00\x00\x00\x00\x00\x00\x00");
constexpr QByteArrayView buttonDataBlock =
    wireBytes("\x00\x02\x00\x08\x00\x00\x00\x00\x00\x00\x00\x00");
constexpr QByteArrayView announcementBlock =
    wireBytes("\x00\x02\x00\x0a\x00\x00\x00\x00\x00\x00\x00\x00");

// The tails of the subscriptions, repeated after the message number of each reply.
constexpr QByteArrayView buttonSubscriptionEcho =
    wireBytes("\x00\x01\x00\x03\x00\x03\x00\x00\x00\x00");
constexpr QByteArrayView nameSubscriptionEcho =
    wireBytes("\x00\x01\x00\x04\x00\x03\x00\x00\x00\x00");
constexpr QByteArrayView definitionSubscriptionEcho =
    wireBytes("\x00\x01\x00\x04\x00\x02\x00\x00\x00\x00\x00\x10\x00\x01\x62\x00\x00\x00");
constexpr QByteArrayView frameInfoSubscriptionEcho =
    wireBytes("\x00\x01\x00\x04\x00\x02\x00\x00\x00\x00");

constexpr qsizetype clientIdEchoFrom = 4;
constexpr qsizetype clientIdEchoTo = 18;
constexpr quint16 portsAnnounced = 1;

constexpr qsizetype buttonTrailer = 2;

constexpr quint8 nameRecordPrefix = 0x00;
constexpr qsizetype nameFieldsOffset = 13;
constexpr qsizetype nameRecordUnexamined = 6;
constexpr int minimumNameLength = 18; // L
constexpr int maximumNameLength = 80;
constexpr qsizetype gapAfterNameRecord = 4;
constexpr qsizetype namePadding = 30;
constexpr qsizetype nameRecordsOffset = 28;

constexpr int definitionLength = 44; // L; the record is L + 4 bytes
constexpr qsizetype definitionRecordsOffset = 40;
constexpr qsizetype definitionPadding = 48;

constexpr quint32 frameNumber = 1;
constexpr quint16 suites = 4;
constexpr qsizetype modelWidth = 32;
constexpr qsizetype versionWidth = 16;
constexpr qsizetype serialWidth = 16;

ByteWriter dataHeader(quint16 sequence, QByteArrayView block)
{
    ByteWriter message;
    message.u16(quint16(MessageType::data)).u16(sequence).bytes(block);
    return message;
}

// A name and its terminator; a 16-byte name has none, since the client stops at 16 anyway and
// would otherwise read the terminator as the next (empty) field.
void appendNameField(ByteWriter& fields, const QString& name)
{
    fields.bytes(name.toLatin1());
    if (name.size() < nameFieldLimit)
        fields.u8(0x00);
}

// Packs records into as few messages as fit in a datagram. `header` builds the message
// start for a given number of records; `gap` follows every record, `padding` ends a message.
template <typename Header>
QList<QByteArray> packRecords(const QList<QByteArray>& records, qsizetype leadSize, qsizetype gap,
                              qsizetype padding, Header header)
{
    QList<QByteArray> messages;
    qsizetype first = 0;
    while (first < records.size()) {
        qsizetype size = leadSize + padding;
        qsizetype last = first;
        while (last < records.size() && size + records[last].size() + gap <= maxDatagramSize) {
            size += records[last].size() + gap;
            ++last;
        }
        QUORVANE_REQUIRE(last > first, "a record does not fit in a datagram");
        ByteWriter message = header(last - first);
        for (qsizetype k = first; k < last; ++k)
            message.bytes(records[k]).zeros(gap);
        message.zeros(padding);
        messages.append(message.take());
        first = last;
    }
    return messages;
}
} // namespace

quint16 SequenceCounter::next()
{
    do {
        ++m_value;
    } while (m_value == sourceNameMessage);
    return m_value;
}

bool isEncodableName(const QString& name, qsizetype limit)
{
    if (name.size() > limit || name != name.trimmed())
        return false;
    for (QChar c : name) {
        if (c.unicode() < 0x20 || c.unicode() > 0x7E)
            return false;
    }
    return true;
}

bool fitsNameRecord(int source, const SourceName& names)
{
    return source >= firstSource && source <= lastSource &&
           isEncodableName(names.eng, nameFieldLimit) &&
           isEncodableName(names.panel, nameFieldLimit) &&
           isEncodableName(names.oled, nameFieldLimit) &&
           isEncodableName(names.menu, nameFieldLimit);
}

bool fitsDefinitionRecord(int source, const QString& engineeringName)
{
    return source >= firstSource && source <= lastSource && engineeringName.size() >= 2 &&
           isEncodableName(engineeringName, engineeringNameLimit);
}

bool hasCustomName(const SourceName& names)
{
    return !names.panel.isEmpty() || !names.oled.isEmpty() || !names.menu.isEmpty();
}

QByteArray ack(quint16 sequence)
{
    ByteWriter message;
    message.u16(quint16(MessageType::ack)).u16(sequence);
    return message.take();
}

QByteArray ackFor(QByteArrayView received)
{
    QUORVANE_REQUIRE(received.size() >= headerSize, "only a message with a header is acknowledged");
    return ack(ByteReader(received).u16(2));
}

QByteArray controlMessage(MessageType type, quint16 sequence)
{
    ByteWriter message;
    message.u16(quint16(type)).u16(sequence);
    return message.take();
}

QByteArray clientIdAckWithPort(QByteArrayView clientId, quint16 dynamicPort)
{
    QUORVANE_REQUIRE(clientId.size() >= clientIdEchoTo, "a ClientID is 20 bytes");
    ByteWriter message;
    message.bytes(ackFor(clientId))
        .bytes(clientId.sliced(clientIdEchoFrom, clientIdEchoTo - clientIdEchoFrom))
        .u16(dynamicPort);
    return message.take();
}

QByteArray portAnnouncement(quint16 sequence, quint16 dynamicPort)
{
    ByteWriter message = dataHeader(sequence, announcementBlock);
    message.u16(portsAnnounced).u16(dynamicPort);
    return message.take();
}

QByteArray buttonRecord(const ButtonRecord& record)
{
    ByteWriter bytes;
    bytes.u16(buttonSignature)
        .zeros(2)
        .u8(buttonMarker)
        .u16(record.parameter)
        .u8(record.busCode)
        .zeros(2)
        .u32(record.source);
    return bytes.take();
}

QByteArray buttonDatagram(quint16 sequence, quint16 subscriptionId,
                          const QList<ButtonRecord>& records)
{
    constexpr qsizetype leadZeros = 16;
    ByteWriter message = dataHeader(sequence, buttonDataBlock);
    message.zeros(leadZeros).u16(subscriptionId).bytes(buttonSubscriptionEcho);
    for (const ButtonRecord& record : records)
        message.bytes(buttonRecord(record));
    message.zeros(buttonTrailer);
    QUORVANE_REQUIRE(message.size() <= maxDatagramSize, "too many button records for a datagram");
    return message.take();
}

QByteArray sourceNameRecord(int source, const SourceName& names, NameRecordKind kind)
{
    QUORVANE_REQUIRE(fitsNameRecord(source, names), "name record out of the frame's limits");
    const bool hasOled = !names.oled.isEmpty();
    ByteWriter fields;
    if (hasOled)
        appendNameField(fields, names.oled);
    else
        fields.u8(0x00);
    appendNameField(fields, QString()); // a field the frame keeps but the client ignores
    appendNameField(fields, names.eng);
    appendNameField(fields, names.panel);
    appendNameField(fields, names.menu);

    const qsizetype size = qMax(nameFieldsOffset + fields.size(), qsizetype{minimumNameLength + 2});
    const qsizetype length = size - 2;
    QUORVANE_REQUIRE(length <= maximumNameLength, "name record too long");

    ByteWriter record;
    record.u8(nameRecordPrefix)
        .u8(quint8(kind))
        .u8(0x00)
        .u8(static_cast<quint8>(length))
        .u16(static_cast<quint16>(source))
        .zeros(nameRecordUnexamined)
        .u8(hasOled ? 1 : 0)
        .bytes(fields.data());
    record.zeros(size - record.size());
    return record.take();
}

QList<QByteArray> sourceNameMessages(const std::vector<NamedSource>& sources, NameRecordKind kind,
                                     SequenceCounter& sequence)
{
    QList<QByteArray> records;
    for (const NamedSource& source : sources)
        records.append(sourceNameRecord(source.number, source.names, kind));
    return packRecords(records, nameRecordsOffset, gapAfterNameRecord, namePadding, [&](qsizetype) {
        ByteWriter message = dataHeader(sequence.next(), nameReplyBlock);
        message.u16(sourceNameMessage).bytes(nameSubscriptionEcho);
        return message;
    });
}

QByteArray sourceDefinitionRecord(int source, const QString& engineeringName)
{
    QUORVANE_REQUIRE(fitsDefinitionRecord(source, engineeringName),
                     "definition record out of the frame's limits");
    ByteWriter record;
    record.u8(0x00)
        .u8(0x01)
        .u8(0x00)
        .u8(quint8{definitionLength})
        .u16(static_cast<quint16>(source))
        .zeros(definitionLength - 14)
        .paddedText(engineeringName, engineeringNameLimit);
    return record.take();
}

QList<QByteArray> sourceDefinitionMessages(const std::vector<NamedSource>& sources,
                                           SequenceCounter& sequence)
{
    QList<QByteArray> records;
    for (const NamedSource& source : sources) {
        if (!source.names.eng.isEmpty())
            records.append(sourceDefinitionRecord(source.number, source.names.eng));
    }
    return packRecords(records, definitionRecordsOffset, 0, definitionPadding,
                       [&](qsizetype count) {
                           ByteWriter message = dataHeader(sequence.next(), nameReplyBlock);
                           message.u16(sourceDefinitionMessage)
                               .bytes(definitionSubscriptionEcho)
                               .u16(static_cast<quint16>(count))
                               .zeros(2);
                           return message;
                       });
}

QByteArray frameInfoReply(quint16 sequence, const FrameIdentity& identity)
{
    QUORVANE_REQUIRE(isEncodableName(identity.model, modelWidth - 1) &&
                         isEncodableName(identity.version, versionWidth - 1) &&
                         isEncodableName(identity.serial, serialWidth - 1),
                     "frame identity does not fit its fields");
    ByteWriter message = dataHeader(sequence, frameInfoBlock);
    message.u16(frameInfoMessage)
        .bytes(frameInfoSubscriptionEcho)
        .u32(frameNumber)
        .u16(suites)
        .paddedText(identity.model, modelWidth)
        .paddedText(identity.version, versionWidth)
        .paddedText(identity.serial, serialWidth);
    return message.take();
}

} // namespace quorvane::emulator
