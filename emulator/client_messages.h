#pragma once

#include <QByteArrayView>
#include <QString>
#include <QtGlobal>

// What the client sends, as the frame recognises it. A message is recognised only when it
// matches its known bytes exactly (length, block, fixed payload); anything else is "other",
// so that a client sending a wrong byte shows up in the emulator's records.
namespace quorvane::emulator {

enum class ClientMessageKind {
    tooShort,    // under 4 bytes: no header
    ping,        // 00 01 SS SS
    sync,        // 00 06 SS SS
    ack,         // 00 02 SS SS
    unknownType, // a header with any other type
    clientIdFirst,
    clientIdSecond,
    registration,
    suiteRegistration,
    secondSuiteRegistration,
    sourceDefinitionSubscription,
    sourceNameSubscription,
    frameInfoSubscription,
    busPreamble,
    buttonSubscription,
    writeRequest,
    otherData, // DATA that matches none of the above
};

// A button subscription, 52 bytes:
//
//   0  00 04 SS SS   DATA
//   4  00 02 00 08 00 00 00 24 00 00 00 2e
//   16 00 × 16
//   32 II II         subscription id
//   34 00 01 00 03 00 03 00 00 00 00
//   44 13 85 00 00 89
//   49 PP PP         parameter
//   51 BB            bus code
struct ButtonSubscription {
    quint16 subscriptionId = 0;
    quint16 parameter = 0;
    quint8 busCode = 0;

    friend bool operator==(const ButtonSubscription&, const ButtonSubscription&) = default;
};

// A mapping write, 26 bytes:
//
//   0  00 04 SS SS   DATA
//   4  00 02 00 06 00 00 00 0a 00 00 00 12
//   16 13 85 01 00 89
//   21 PP PP         parameter (the button address)
//   23 BB            bus code
//   24 SS SS         source
struct WriteRequest {
    quint16 parameter = 0;
    quint8 busCode = 0;
    quint16 source = 0;

    friend bool operator==(const WriteRequest&, const WriteRequest&) = default;
};

struct ClientMessage {
    ClientMessageKind kind = ClientMessageKind::tooShort;
    quint16 type = 0;
    quint16 sequence = 0;            // bytes 2-3 as they came
    int suite = 0;                   // suiteRegistration: 1 to 4
    ButtonSubscription subscription; // buttonSubscription
    WriteRequest write;              // writeRequest
};

ClientMessage decodeClientMessage(QByteArrayView datagram);

// "PING", "button subscription", …: for logs and test messages.
QString kindName(ClientMessageKind kind);
// One line about a message: its kind, sequence and the fields that matter.
QString describe(const ClientMessage& message);

} // namespace quorvane::emulator
