#pragma once

#include "model/source_name.h"
#include "wire_format.h"

#include <QByteArray>
#include <QByteArrayView>
#include <QList>
#include <QString>
#include <vector>

// What the frame sends. Each encoder is the exact inverse of one of the client's decoders in
// src/model, and places its records where that decoder's scan will find them.
namespace quorvane::emulator {

// One source of a show and the names the frame keeps for it.
struct NamedSource {
    int number = 0;
    SourceName names;

    friend bool operator==(const NamedSource&, const NamedSource&) = default;
};

// One button assignment as the frame reports it.
struct ButtonRecord {
    quint16 parameter = 0; // see buttonParameter()
    quint8 busCode = 0;
    quint32 source = 0; // 0 = unassigned

    friend bool operator==(const ButtonRecord&, const ButtonRecord&) = default;
};

enum class NameRecordKind : quint8 {
    bulk = 1, // part of the answer to a name subscription
    live = 2, // one rename, sent on the frame's own initiative
};

// The frame model and software version that a frame-information reply carries as text.
struct FrameIdentity {
    QString model = QStringLiteral("Kayenne K-Frame XP");
    QString version = QStringLiteral("V12.3.1");
    QString serial = QStringLiteral("KF-0412-7731");
};

// The frame's own DATA sequence numbers. 0x020b is skipped: in bytes 2-3 it would be taken for
// the name-message marker by a client that scans the start of every datagram for it.
class SequenceCounter {
public:
    explicit SequenceCounter(quint16 last = 0x0100)
        : m_value(last)
    {
    }

    quint16 next();

private:
    quint16 m_value;
};

// Name limits of the two record kinds: a name field holds at most 16 bytes, the engineering
// name of a definition record at most 12. Names are printable ASCII without surrounding
// blanks (the client trims them), source numbers 1 to 999.
inline constexpr qsizetype nameFieldLimit = 16;
inline constexpr qsizetype engineeringNameLimit = 12;
inline constexpr int firstSource = 1;
inline constexpr int lastSource = 999;

bool isEncodableName(const QString& name, qsizetype limit);
bool fitsNameRecord(int source, const SourceName& names);
// Also requires at least 2 characters: the client drops shorter engineering names.
bool fitsDefinitionRecord(int source, const QString& engineeringName);

// A source has custom names when the frame would send a name record for it.
bool hasCustomName(const SourceName& names);

// --- Framing -------------------------------------------------------------------------------

// 00 02 SS SS: the ACK of a message with sequence SS SS.
QByteArray ack(quint16 sequence);
// The ACK of a received message: its bytes 2-3 copied unchanged. Requires a 4-byte header.
QByteArray ackFor(QByteArrayView received);
// PING (00 01 SS SS) or SYNC (00 06 SS SS) from the frame.
QByteArray controlMessage(MessageType type, quint16 sequence);

// --- Handshake -----------------------------------------------------------------------------

// The long ACK of the first-form ClientID, which hands over the dynamic port:
//
//   0  00 02 SS SS   ACK, the ClientID's sequence echoed (00 01)
//   4  …             the ClientID's bytes 4-17 echoed
//   18 PP PP         dynamic port
QByteArray clientIdAckWithPort(QByteArrayView clientId, quint16 dynamicPort);

// The port announcement, sent from port 5001 to the client's listener:
//
//   0  00 04 SS SS   DATA (any type but PING)
//   4  00 02 00 0a 00 00 00 00 00 00 00 00
//   16 00 01         one port follows
//   18 PP PP         dynamic port
QByteArray portAnnouncement(quint16 sequence, quint16 dynamicPort);

// --- Button data ---------------------------------------------------------------------------

// A button record, 14 bytes:
//
//   0  13 85         signature
//   2  00 00
//   4  89
//   5  PP PP         parameter (shift and button)
//   7  BB            bus code
//   8  00 00
//   10 SS SS SS SS   source; 0 = unassigned
QByteArray buttonRecord(const ButtonRecord& record);

// A button datagram: the answer to a button subscription, or a change the frame reports on its
// own (subscription id 0). It repeats the subscription's tail, then the records:
//
//   0  00 04 SS SS   DATA
//   4  00 02 00 08 00 00 00 00 00 00 00 00
//   16 00 × 16
//   32 II II         subscription id
//   34 00 01 00 03 00 03 00 00 00 00
//   44 records, 14 bytes each
//   .. 00 00         trailer: the client's scan stops 14 bytes before the end, so a record
//                    flush with the end would be missed
QByteArray buttonDatagram(quint16 sequence, quint16 subscriptionId,
                          const QList<ButtonRecord>& records);

// --- Source names (0x020b) -----------------------------------------------------------------

// A name record, L + 2 bytes with 18 ≤ L ≤ 80:
//
//   0  00            prefix
//   1  KK            kind: 01 bulk, 02 live
//   2  00
//   3  LL            L
//   4  SS SS         source
//   6  00 × 6
//   12 FF            01 when an OLED name starts at 13
//   13 …             name fields: the OLED name, or a single 00 when there is none (so the
//                    client reads on from 14); then an unused field (empty), engineering,
//                    panel and menu names. A field is the name and a terminating 00, or 16
//                    bytes with no terminator (the client stops reading a field at 16).
//   .. 00 …          zeros up to the minimum length
QByteArray sourceNameRecord(int source, const SourceName& names, NameRecordKind kind);

// Name messages for `sources`, as many as are needed to keep each within 4096 bytes:
//
//   0  00 04 SS SS   DATA
//   4  00 02 00 10 00 00 00 00 00 00 00 00
//   16 02 0b         message; the client starts looking for records 12 bytes on
//   18 00 01 00 04 00 03 00 00 00 00
//   28 records, each followed by 4 zero bytes the client steps over
//   .. 00 × 30       padding: the client's scan stops 30 bytes before the end
QList<QByteArray> sourceNameMessages(const std::vector<NamedSource>& sources, NameRecordKind kind,
                                     SequenceCounter& sequence);

// --- Source definitions (0x0210) -----------------------------------------------------------

// A definition record, L + 4 bytes with L = 44:
//
//   0  00
//   1  01
//   2  00
//   3  LL            L
//   4  SS SS         source
//   6  00 × (L − 14)
//   L − 8            engineering name, NUL-padded to 12 bytes: the record's last 12 bytes
QByteArray sourceDefinitionRecord(int source, const QString& engineeringName);

// Definition messages for the sources that have an engineering name, each within 4096 bytes:
//
//   0  00 04 SS SS   DATA
//   4  00 02 00 10 00 00 00 00 00 00 00 00
//   16 02 10         message
//   18 00 01 00 04 00 02 00 00 00 00 00 10 00 01 62 00 00 00
//   36 NN NN         records in this message
//   38 00 00
//   40 records, back to back (the client looks for the first one from 40 on)
//   .. 00 × 48       padding: the client's scan stops 48 bytes before the end
QList<QByteArray> sourceDefinitionMessages(const std::vector<NamedSource>& sources,
                                           SequenceCounter& sequence);

// --- Frame information (0x01fd) ------------------------------------------------------------

// The frame-information reply. The client reads it as text, so the binary fields hold values
// that are not printable and split the texts apart:
//
//   0  00 04 SS SS   DATA
//   4  00 02 00 0c 00 00 00 00 00 00 00 00   (not the 00 02 00 10 of the name replies)
//   16 01 fd         message
//   18 00 01 00 04 00 02 00 00 00 00
//   28 00 00 00 01   frame number
//   32 00 04         suites
//   34 model         NUL-padded to 32 bytes ("Kayenne K-Frame XP")
//   66 version       NUL-padded to 16 bytes ("V12.3.1")
//   82 serial        NUL-padded to 16 bytes
QByteArray frameInfoReply(quint16 sequence, const FrameIdentity& identity);

} // namespace quorvane::emulator
