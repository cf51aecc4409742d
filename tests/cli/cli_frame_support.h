#pragma once

// What the tests of the tool against the emulated frame share: the frame's table as a dump
// lists it, and show files on disk.

#include "frame_emulator.h"
#include "model/show_file.h"

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
