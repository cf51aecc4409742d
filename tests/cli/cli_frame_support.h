#pragma once

// What the tests of the tool against the emulated frame share: the frame's table as a dump
// lists it, and show files on disk.

#include "diagnostics/debug_logger.h"
#include "frame_emulator.h"
#include "model/show_file.h"
#include "model/source_labels.h"
#include "model/source_name.h"

#include <QFile>
#include <QTest>

namespace quorvane::test {

// The assigned buttons of the frame's table, as a dump lists them (names aside).
inline QList<ShowButton> assignedOnFrame(const emulator::FrameEmulator& frame,
                                         const QList<Bus>& buses, int count)
{
    QList<ShowButton> buttons;
    for (Bus bus : buses) {
        for (int shift = 1; shift <= 4; ++shift) {
            for (int button = 1; button <= count; ++button) {
                const quint32 source = frame.mapping(bus, count, shift, button);
                if (source != 0)
                    buttons.append(ShowButton{bus, shift, button, qint64{source}, {}});
            }
        }
    }
    return buttons;
}

// The name a dump gives `source`: the show's own, else the shipped label of an internal source.
inline QString nameOnFrame(const emulator::FrameEmulator& frame, qint64 source)
{
    static const InternalSourceLabels labels = [] {
        DebugLogger silent;
        silent.setEcho(nullptr);
        return loadInternalSourceLabels(defaultSourceLabelsLocations(), silent);
    }();
    return displayName(static_cast<int>(source), frame.show().names(), labels).value_or(QString());
}

// The show file a dump of `buses` at 35 buttons would write, made from the frame's table
// without a run, for the tests whose subject is what comes after the dump. The frame's own
// description is only informative and left out.
inline ShowFile showOfFrame(const emulator::FrameEmulator& frame, const QList<Bus>& buses,
                            int suite = 1)
{
    ShowFile file;
    file.frameAddress = QStringLiteral("127.0.0.1");
    file.suite = suite;
    file.buttonCount = 35;
    file.buttons = assignedOnFrame(frame, buses, file.buttonCount);
    for (ShowButton& button : file.buttons)
        button.name = nameOnFrame(frame, button.source);
    file.sources = frame.show().names();
    return file;
}

struct Place {
    Bus bus;
    int shift;
    int button;
};

// The first button of `bus` at 35 whose assignment on the frame is (or is not) empty.
inline Place firstButton(const emulator::FrameEmulator& frame, Bus bus, bool assigned,
                         int fromShift = 1)
{
    for (int shift = fromShift; shift <= 4; ++shift) {
        for (int button = 1; button <= 35; ++button) {
            if ((frame.mapping(bus, 35, shift, button) != 0) == assigned)
                return Place{bus, shift, button};
        }
    }
    qFatal("the demo show has no such button");
}

inline ShowButton* find(ShowFile& file, const Place& place)
{
    for (ShowButton& button : file.buttons) {
        if (button.bus == place.bus && button.shift == place.shift && button.button == place.button)
            return &button;
    }
    return nullptr;
}

// The buttons `first` to `last` of one shift row of `bus` at 35.
inline QList<emulator::PanelButton> buttonRow(Bus bus, int shift, int first, int last)
{
    QList<emulator::PanelButton> buttons;
    for (int button = first; button <= last; ++button)
        buttons.append({bus, 35, shift, button});
    return buttons;
}

// What stands in the backup file before a run: any run that fails must leave it so.
inline const QByteArray earlierBackup = "{ \"an earlier backup\": true }\n";

inline QList<ShowButton> withoutNames(QList<ShowButton> buttons)
{
    for (ShowButton& button : buttons)
        button.name.clear();
    return buttons;
}

inline QByteArray contents(const QString& path)
{
    QFile file(path);
    if (!file.open(QIODevice::ReadOnly))
        qFatal("cannot read %s", qPrintable(path));
    return file.readAll();
}

inline void save(const QString& path, const QByteArray& bytes)
{
    QFile file(path);
    if (!file.open(QIODevice::WriteOnly) || file.write(bytes) != bytes.size())
        qFatal("cannot write %s", qPrintable(path));
}

inline ShowFile readJson(const QByteArray& bytes)
{
    const ShowFileResult result = readShowJson(bytes);
    if (!result.file)
        qFatal("not a show file: %s", qPrintable(result.problems.value(0).text()));
    return *result.file;
}

// Without any log, standard error holds only the errors.
inline QStringList quietly(QStringList arguments)
{
    arguments << QStringLiteral("--quiet");
    return arguments;
}

inline bool startFrame(emulator::FrameEmulator& frame)
{
    if (frame.start())
        return true;
    qWarning("emulated frame: %s", qPrintable(frame.errorString()));
    return false;
}

} // namespace quorvane::test
