#include "session/remembered_settings.h"

#include "editing/editing_model.h"
#include "model/button_address.h"

#include <QSettings>

namespace quorvane {

RememberedSettings::RememberedSettings(QSettings& preferences, EditingModel& model, QObject* parent)
    : QObject(parent)
{
    bool ok = false;
    const int suite = preferences.value(suiteKey.toString()).toInt(&ok);
    if (ok && suite >= 1 && suite <= 4)
        model.setSelectedSuite(suite);
    const int count = preferences.value(buttonCountKey.toString()).toInt(&ok);
    if (ok && isSupportedButtonCount(count))
        model.setSelectedButtonCount(count);
    const QVariant shown = preferences.value(showDebugLogKey.toString());
    if (shown.isValid())
        model.setShowDebugLog(shown.toBool());

    connect(&model, &EditingModel::selectedSuiteChanged, this, [&preferences, &model] {
        preferences.setValue(suiteKey.toString(), model.selectedSuite());
    });
    connect(&model, &EditingModel::selectedButtonCountChanged, this, [&preferences, &model] {
        preferences.setValue(buttonCountKey.toString(), model.selectedButtonCount());
    });
    connect(&model, &EditingModel::showDebugLogChanged, this, [&preferences, &model] {
        preferences.setValue(showDebugLogKey.toString(), model.showDebugLog());
    });
}

} // namespace quorvane
