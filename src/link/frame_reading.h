#pragma once

#include "gv_connection.h"
#include "model/show_file.h"

#include <QList>
#include <QStringList>
#include <functional>

namespace quorvane {

// What the frame has told about the buttons of some buses at one button count, from its
// answers alone: a button it has not answered for is unknown, never taken for unassigned.
struct FrameReading {
    QList<ShowButton> assigned; // answered with a source, sorted, named when a namer is given
    QList<ShowButton> unknown;  // no answer yet, sorted, source 0

    bool isComplete() const { return unknown.isEmpty(); }
};

FrameReading readFrame(const GVConnection& connection, const QList<Bus>& buses, int buttonCount,
                       const std::function<QString(qint64 source)>& nameOf = {});

// The unknown buttons, one line per shift row with runs joined: "ME2 shift 3: buttons 17-20".
QStringList unknownButtonLines(const QList<ShowButton>& unknown);

} // namespace quorvane
