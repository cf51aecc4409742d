#pragma once

#include <QObject>
#include <QPointer>
#include <QWidget>
#include <vector>

namespace quorvane {

// The Help and About windows. Every request opens a new window; closed windows stay alive
// (hidden) until the program ends, as the owner keeps them.
class InfoWindows : public QObject {
    Q_OBJECT

public:
    using QObject::QObject;
    ~InfoWindows() override;

    QWidget* showHelp();
    QWidget* showAbout();
    // Hides every open window; they never keep the program running on their own.
    void closeAll();

    const std::vector<QWidget*>& windows() const { return m_windows; }

private:
    QWidget* open(const QString& title, QWidget* content, QSize size);

    std::vector<QWidget*> m_windows;
};

} // namespace quorvane
