#pragma once

// A connection and an emulated frame on loopback, with a private log and private settings.

#include "fast_timing.h"
#include "frame_barrier.h"
#include "frame_emulator.h"
#include "link/gv_connection.h"
#include "link/wire_messages.h"
#include "model/byte_reader.h"
#include "test_support.h"

#include <QSettings>
#include <QTemporaryDir>
#include <QTest>
#include <cstdio>
#include <memory>

namespace quorvane::test {

// Long enough for any connect on loopback, also under the sanitizers.
inline constexpr int connectTimeoutMs = 10'000;

struct StateStep {
    ConnectionState state;
    double progress;
    friend bool operator==(const StateStep&, const StateStep&) = default;
};

// A frame that leaves `buttons` unanswered the first `asks` times each is asked for, or always
// when `asks` is negative.
inline emulator::FrameEmulatorOptions silentFrame(QList<emulator::PanelButton> buttons, int asks)
{
    emulator::FrameEmulatorOptions options;
    options.faults.silentButtons = std::move(buttons);
    options.faults.silentAsks = asks;
    return options;
}

class LinkFixture {
public:
    explicit LinkFixture(emulator::FrameEmulatorOptions options = {},
                         const LinkTiming& timing = fastTiming())
        : frame(std::move(options))
        , preferences(settingsDir.filePath(QStringLiteral("prefs.ini")), QSettings::IniFormat)
    {
        // Every line goes to a file as well: a whole connect logs more than the 500 kept.
        m_echo = std::tmpfile();
        logger.setEcho(m_echo);
        connection = std::make_unique<GVConnection>(preferences, logger);
        connection->setTiming(timing);
        // The progress is set right after the state, so read both once the progress moved.
        QObject::connect(
            connection.get(), &GVConnection::connectionProgressChanged, connection.get(), [this] {
                steps.append({connection->connectionState(), connection->connectionProgress()});
            });
    }

    ~LinkFixture()
    {
        connection.reset();
        frame.stop();
        std::fclose(m_echo);
    }

    // Connects to the emulated frame and waits until the connection is up.
    bool connectAndWait(int suite = 1, int buttonCount = 35)
    {
        connection->connect(QStringLiteral("127.0.0.1"), suite, buttonCount);
        return waitUntil(
            [this] { return connection->connectionState() == ConnectionState::connected; },
            connectTimeoutMs);
    }

    bool startFrame()
    {
        if (!frame.start()) {
            qWarning("emulated frame: %s", qPrintable(frame.errorString()));
            return false;
        }
        return true;
    }

    // Every message logged so far, as "[LEVEL] text".
    QStringList messages()
    {
        std::fflush(m_echo);
        std::rewind(m_echo);
        QByteArray all;
        char chunk[4096];
        for (size_t read; (read = std::fread(chunk, 1, sizeof chunk, m_echo)) > 0;)
            all.append(chunk, qsizetype(read));
        std::fseek(m_echo, 0, SEEK_END);
        QStringList lines = QString::fromUtf8(all).split(u'\n', Qt::SkipEmptyParts);
        constexpr qsizetype stampLength = 15; // "[HH:mm:ss.zzz] "
        for (QString& line : lines)
            line.remove(0, stampLength);
        return lines;
    }
    bool logged(const QString& message) { return messages().contains(message); }

    // What the client sent to one of the frame's ports, of one kind.
    QList<emulator::ReceivedDatagram> sentBy(emulator::ClientMessageKind kind) const
    {
        return frame.receivedOfKind(kind);
    }

    emulator::FrameEmulator frame;
    QTemporaryDir settingsDir;
    QSettings preferences;
    DebugLogger logger;
    std::unique_ptr<GVConnection> connection;
    QList<StateStep> steps;

private:
    std::FILE* m_echo = nullptr;
};

} // namespace quorvane::test
