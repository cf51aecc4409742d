#pragma once

#include <QObject>
#include <QStringView>

class QSettings;

namespace quorvane {

class EditingModel;

// The operator's choices that outlive a run: the suite, the buttons per row and whether the debug
// log is shown. They are read back into the model at once and written whenever they change. The
// selection, the clipboard, the sandbox and the undo history are the work of one run and are not
// kept; nor is anything of the frame's.
class RememberedSettings : public QObject {
    Q_OBJECT

public:
    static constexpr QStringView suiteKey = u"Quorvane.suite";
    static constexpr QStringView buttonCountKey = u"Quorvane.buttonCount";
    static constexpr QStringView showDebugLogKey = u"Quorvane.showDebugLog";

    // Both must outlive this object. A stored value the model cannot take is left out.
    RememberedSettings(QSettings& preferences, EditingModel& model, QObject* parent = nullptr);
};

} // namespace quorvane
