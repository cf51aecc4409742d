#include "info_windows.h"

#include "help_text.h"
#include "project_info.h"
#include "window_style.h"

#include <QDialogButtonBox>
#include <QGridLayout>
#include <QGuiApplication>
#include <QLabel>
#include <QScreen>
#include <QScrollArea>
#include <QShortcut>
#include <QVBoxLayout>

using namespace Qt::StringLiterals;

namespace quorvane {

namespace {

const QString version = u"Version "_s + projectVersionMajorMinor + u" Beta"_s;

QLabel* label(const QString& text, int pointSize = 0, bool bold = false)
{
    auto* label = new QLabel(text);
    label->setWordWrap(true);
    label->setTextInteractionFlags(Qt::TextSelectableByMouse);
    QFont font = label->font();
    if (pointSize > 0)
        font.setPointSize(pointSize);
    font.setBold(bold);
    label->setFont(font);
    return label;
}

void addSection(QVBoxLayout& layout, const QString& heading, const QStringList& points)
{
    layout.addSpacing(6);
    layout.addWidget(label(heading, 14, true));
    for (const QString& point : points)
        layout.addWidget(label(u"•  "_s + point));
}

QWidget* helpContent()
{
    auto* content = new QWidget;
    auto* layout = new QVBoxLayout(content);
    layout->addWidget(label(u"Quorvane"_s, 22, true));
    layout->addWidget(label(version));

    layout->addSpacing(6);
    layout->addWidget(label(u"Getting Started"_s, 14, true));
    layout->addWidget(label(u"1. Enter the GV Frame IP address\n2. Select the Suite number (1-4)\n"
                            u"3. Select the button count (15, 20, 25, or 35)\n4. Click Connect\n\n"
                            u"The Frame IP can be found in the official GV GUI under:\n"
                            u"Eng Setup > Node Settings\n\n"
                            u"Note: The frame must be accessible from the device running this "
                            u"app."_s));
    const KeyNames keys = platformKeyNames();
    addSection(*layout, u"Copy & Paste"_s, copyAndPastePoints(keys));
    addSection(*layout, u"Drag & Drop"_s,
               {u"Drag a source from the sandbox area onto any button"_s,
                u"The button will be assigned that source"_s,
                u"Drag between buttons to copy mappings"_s});
    addSection(*layout, u"Source Sandbox"_s,
               {u"The sandbox shows recently used and available sources"_s,
                u"Click a source to select it for the selected button(s)"_s,
                u"Drag sources from the sandbox onto buttons"_s});

    layout->addSpacing(6);
    layout->addWidget(label(u"Keyboard Shortcuts"_s, 14, true));
    auto* table = new QGridLayout;
    int row = 0;
    for (const HelpShortcut& shortcut : helpShortcuts(keys)) {
        table->addWidget(label(shortcut.key, 0, true), row, 0);
        table->addWidget(label(shortcut.action), row, 1);
        ++row;
    }
    table->setColumnStretch(1, 1);
    layout->addLayout(table);
    layout->addStretch();

    // The texts are longer than the fixed window on small fonts: let them scroll.
    auto* scroll = new QScrollArea;
    scroll->setWidget(content);
    scroll->setWidgetResizable(true);
    scroll->setFrameShape(QFrame::NoFrame);
    return scroll;
}

QWidget* aboutContent()
{
    auto* content = new QWidget;
    auto* layout = new QVBoxLayout(content);
    layout->addStretch();
    for (QLabel* line : {label(u"Quorvane"_s, 22, true), label(version),
                         label(u"Made with ❤️ by Merrowin"_s)}) {
        line->setAlignment(Qt::AlignHCenter);
        layout->addWidget(line);
    }
    layout->addStretch();
    return content;
}

} // namespace

InfoWindows::~InfoWindows()
{
    for (QWidget* window : m_windows)
        delete window;
}

QWidget* InfoWindows::showHelp()
{
    return open(u"Quorvane Help"_s, helpContent(), {500, 580});
}

QWidget* InfoWindows::showAbout()
{
    return open(u"About Quorvane"_s, aboutContent(), {340, 280});
}

void InfoWindows::closeAll()
{
    for (QWidget* window : m_windows)
        window->close();
}

QWidget* InfoWindows::open(const QString& title, QWidget* content, QSize size)
{
    auto* window =
        new QWidget(nullptr, Qt::Window | Qt::WindowTitleHint | Qt::WindowCloseButtonHint);
    window->setWindowTitle(title);
    // Only the main window keeps the program running.
    window->setAttribute(Qt::WA_QuitOnClose, false);
    QPalette palette = window->palette();
    palette.setColor(QPalette::Window, windowBackground());
    window->setPalette(palette);
    window->setAutoFillBackground(true);
    auto* layout = new QVBoxLayout(window);
    layout->addWidget(content, 1);
    // Closed by its button or by Escape, as a dialog is.
    auto* buttons = new QDialogButtonBox(QDialogButtonBox::Close);
    QObject::connect(buttons, &QDialogButtonBox::rejected, window, &QWidget::close);
    layout->addWidget(buttons);
    auto* escape = new QShortcut(QKeySequence(Qt::Key_Escape), window);
    QObject::connect(escape, &QShortcut::activated, window, &QWidget::close);
    window->setFixedSize(size);
    if (const QScreen* screen = QGuiApplication::primaryScreen()) {
        QRect frame(QPoint(), size);
        frame.moveCenter(screen->availableGeometry().center());
        window->move(frame.topLeft());
    }
    m_windows.push_back(window);
    window->show();
    window->raise();
    window->activateWindow();
    return window;
}

} // namespace quorvane
