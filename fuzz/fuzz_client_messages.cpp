// The emulated frame's reader of client messages: a header is read as it stands, only exact
// layouts are recognised, and the fields taken from a recognised message are its own bytes.
#include "client_messages.h"
#include "fuzz_support.h"
#include "model/byte_reader.h"

using namespace quorvane;
using namespace quorvane::emulator;

namespace {
bool isDataKind(ClientMessageKind kind)
{
    switch (kind) {
    case ClientMessageKind::tooShort:
    case ClientMessageKind::ping:
    case ClientMessageKind::sync:
    case ClientMessageKind::ack:
    case ClientMessageKind::unknownType:
        return false;
    default:
        return true;
    }
}
} // namespace

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size)
{
    const QByteArrayView datagram = fuzz::bytesOf(data, size);
    const ByteReader bytes(datagram);
    const ClientMessage message = decodeClientMessage(datagram);
    FUZZ_CHECK(!describe(message).isEmpty());

    FUZZ_CHECK((message.kind == ClientMessageKind::tooShort) == (size < 4));
    if (size < 4)
        return 0;
    FUZZ_CHECK(message.type == bytes.u16(0) && message.sequence == bytes.u16(2));
    FUZZ_CHECK(isDataKind(message.kind) == (message.type == 0x0004));

    switch (message.kind) {
    case ClientMessageKind::suiteRegistration:
        FUZZ_CHECK(size == 28 && message.suite >= 1 && message.suite <= 4);
        FUZZ_CHECK(bytes.u8(27) == 2 * message.suite + 8);
        break;
    case ClientMessageKind::buttonSubscription:
        FUZZ_CHECK(size == 52);
        FUZZ_CHECK(message.subscription.subscriptionId == bytes.u16(32));
        FUZZ_CHECK(message.subscription.parameter == bytes.u16(49));
        FUZZ_CHECK(message.subscription.busCode == bytes.u8(51));
        break;
    case ClientMessageKind::writeRequest:
        FUZZ_CHECK(size == 26);
        FUZZ_CHECK(message.write.parameter == bytes.u16(21));
        FUZZ_CHECK(message.write.busCode == bytes.u8(23));
        FUZZ_CHECK(message.write.source == bytes.u16(24));
        break;
    case ClientMessageKind::clientIdFirst:
    case ClientMessageKind::clientIdSecond:
        FUZZ_CHECK(size == 20);
        break;
    case ClientMessageKind::registration:
        FUZZ_CHECK(size == 32);
        break;
    case ClientMessageKind::secondSuiteRegistration:
        FUZZ_CHECK(size == 25);
        break;
    case ClientMessageKind::sourceDefinitionSubscription:
    case ClientMessageKind::sourceNameSubscription:
    case ClientMessageKind::frameInfoSubscription:
    case ClientMessageKind::busPreamble:
        FUZZ_CHECK(size == 52);
        break;
    default:
        break;
    }
    return 0;
}
