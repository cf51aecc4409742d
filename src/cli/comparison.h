#pragma once

#include "cli_options.h"
#include "frame_session.h"
#include "model/show_file.h"

#include <QList>
#include <QString>
#include <variant>

namespace quorvane::cli {

// What diff and apply compare, settled from the command line and the show file before the
// frame is contacted.
struct ComparisonPlan {
    ShowFile file; // only the buttons on the compared buses
    SessionTarget target;
    QList<Bus> buses; // in display order
    bool listedOnly = false;
    qsizetype ignoredButtons = 0; // listed in the file on buses not compared
};

// The plan for comparing `file` (read as `format`) as the options ask, or why it cannot be
// done, as one line.
std::variant<ComparisonPlan, QString> planComparison(const CliOptions& options, ShowFile file,
                                                     ShowFormat format);

// Keeps the buttons on `buses`.
QList<ShowButton> onBuses(const QList<ShowButton>& buttons, const QList<Bus>& buses);

// Keeps the buttons the plan compares: on its buses, and only those the file lists when the
// plan compares listed buttons only.
QList<ShowButton> comparedOnly(QList<ShowButton> frameButtons, const ComparisonPlan& plan);

// The buttons whose source differs between the frame's buttons and the plan's file. A button
// the file does not list counts as unassigned, unless the plan compares listed buttons only.
QList<ShowDifference> compareWithFrame(const QList<ShowButton>& frameButtons,
                                       const ComparisonPlan& plan);

} // namespace quorvane::cli
