#pragma once

// The editing model on a real connection: either one that never connects, whose cache the
// test fills with the frame's own button datagrams, or one connected over loopback to the
// emulated frame, so that every write can be checked on both sides.

#include "button_table.h"
#include "drag_support.h"
#include "editing/editing_model.h"
#include "frame_encoders.h"
#include "link_fixture.h"

#include <QSignalSpy>

namespace quorvane::test {

struct CellSource {
    int shift = 0;
    int button = 0;
    quint32 source = 0;
};

// A connection that is never connected: nothing reaches a network, writes are refused by the
// connection, but its cache and decoders work.
class OfflineEditing {
public:
    OfflineEditing()
        : preferences(settingsDir.filePath(QStringLiteral("prefs.ini")), QSettings::IniFormat)
        , connection(preferences, logger)
        , model(connection)
    {
        logger.setEcho(nullptr);
    }

    // Fills the cache as the frame's answer to the button subscriptions would, at the
    // connection's button count.
    void feed(Bus bus, const QList<CellSource>& cells)
    {
        QList<emulator::ButtonRecord> records;
        for (const CellSource& cell : cells) {
            records.append(
                {emulator::buttonParameter(connection.buttonCount(), cell.shift, cell.button),
                 busCode(bus), cell.source});
        }
        connection.parseButtonData(emulator::buttonDatagram(0x0200, 0, records));
    }

    qint64 cached(Bus bus, int shift, int button) const
    {
        const auto mapping = connection.mappingFor(bus, shift, button, connection.buttonCount());
        return mapping ? mapping->source : -1;
    }

    QTemporaryDir settingsDir;
    QSettings preferences;
    DebugLogger logger;
    GVConnection connection;
    EditingModel model;
};

// The model on a connection to the emulated frame over loopback.
class ConnectedEditing {
public:
    explicit ConnectedEditing(emulator::FrameEmulatorOptions options = {},
                              const LinkTiming& timing = fastTiming())
        : link(std::move(options), timing)
        , model(*link.connection)
    {
    }

    emulator::FrameEmulator& frame() { return link.frame; }
    GVConnection& connection() { return *link.connection; }

    // Sets the frame's own table before the connection reads it.
    void setFrameRow(Bus bus, int buttonCount, int shift, const QList<quint32>& sources,
                     int firstButton = 1)
    {
        for (int i = 0; i < sources.size(); ++i)
            link.frame.setMapping(bus, buttonCount, shift, firstButton + i, sources[i]);
    }

    // Sets shifts 1 to 4 of `button` on the frame to `base` + 1 to `base` + 4.
    void setFrameColumn(Bus bus, int buttonCount, int button, quint32 base)
    {
        for (int shift = 1; shift <= shiftRowCount; ++shift)
            link.frame.setMapping(bus, buttonCount, shift, button, base + quint32(shift));
    }

    // Connects with `buttonCount` buttons per row and waits until the current bus is loaded.
    bool connect(int buttonCount)
    {
        if (!link.startFrame())
            return false;
        link.connection->connect(QStringLiteral("127.0.0.1"), 1, buttonCount);
        return waitUntil(
            [this] { return link.connection->connectionState() == ConnectionState::connected; },
            10'000);
    }

    // Sets `sources` on the frame from `firstButton` of one shift row, connects with
    // `buttonCount` buttons per row and waits until the cache holds them too: the load of the
    // bus shown goes on after the connect.
    bool connectWithRow(Bus bus, int buttonCount, int shift, const QList<quint32>& sources,
                        int firstButton = 1)
    {
        setFrameRow(bus, buttonCount, shift, sources, firstButton);
        if (!connect(buttonCount))
            return false;
        const QList<qint64> wanted(sources.cbegin(), sources.cend());
        const int lastButton = firstButton + int(sources.size()) - 1;
        return waitUntil([&] { return cachedRow(bus, shift, firstButton, lastButton) == wanted; },
                         10'000);
    }

    // The source the connection's cache holds for a button; 0 when it holds none.
    qint64 cached(Bus bus, int shift, int button)
    {
        const auto mapping =
            link.connection->mappingFor(bus, shift, button, link.connection->buttonCount());
        return mapping ? mapping->source : 0;
    }
    QList<qint64> cachedRow(Bus bus, int shift, int from, int to)
    {
        QList<qint64> sources;
        for (int button = from; button <= to; ++button)
            sources.append(cached(bus, shift, button));
        return sources;
    }

    // The frame's own table.
    quint32 onFrame(Bus bus, int shift, int button)
    {
        return link.frame.mapping(bus, link.connection->buttonCount(), shift, button);
    }
    QList<quint32> frameRow(Bus bus, int shift, int from, int to)
    {
        QList<quint32> sources;
        for (int button = from; button <= to; ++button)
            sources.append(onFrame(bus, shift, button));
        return sources;
    }

    // A write request as the frame decodes it, at the connection's button count.
    emulator::WriteRequest request(Bus bus, int shift, int button, quint16 source)
    {
        return {emulator::buttonParameter(link.connection->buttonCount(), shift, button),
                busCode(bus), source};
    }

    // The write requests the frame received from the `from`-th on.
    QList<emulator::WriteRequest> writesSince(qsizetype from)
    {
        return link.frame.writeRequests().mid(from);
    }
    qsizetype writeCount() { return link.frame.writeRequests().size(); }

    LinkFixture link;
    EditingModel model;
};

// Waits for the frame to have received exactly `expected` write requests from `from` on.
// Every write is sent before the model's operation returns, so once the count is reached no
// request of that operation is still on its way.
#define QUORVANE_WAIT_FOR_WRITES(editing, from, expected)                                          \
    QTRY_COMPARE_WITH_TIMEOUT((editing).writesSince(from).size(), qsizetype(expected), 5'000)

// Waits for the write requests of one operation from the `from`-th on, then compares them with
// `expected`, a list of them.
#define QUORVANE_COMPARE_WRITES(editing, from, expected)                                           \
    do {                                                                                           \
        const QList<emulator::WriteRequest> wanted = expected;                                     \
        QUORVANE_WAIT_FOR_WRITES(editing, from, wanted.size());                                    \
        QCOMPARE((editing).writesSince(from), wanted);                                             \
    } while (false)

} // namespace quorvane::test
