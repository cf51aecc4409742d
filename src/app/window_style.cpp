#include "window_style.h"

#include <QApplication>
#include <QPalette>
#include <QStyleFactory>

using namespace Qt::StringLiterals;

namespace quorvane {

void useDarkLook(QApplication& app)
{
    app.setStyle(QStyleFactory::create(u"Fusion"_s));
    QPalette dark;
    dark.setColor(QPalette::Window, windowBackground());
    dark.setColor(QPalette::WindowText, QColor(0xe6, 0xe6, 0xea));
    dark.setColor(QPalette::Base, QColor(0x1a, 0x1a, 0x1e));
    dark.setColor(QPalette::AlternateBase, QColor(0x24, 0x24, 0x28));
    dark.setColor(QPalette::Text, QColor(0xe6, 0xe6, 0xea));
    dark.setColor(QPalette::PlaceholderText, QColor(0x8a, 0x8a, 0x92));
    dark.setColor(QPalette::Button, QColor(0x2c, 0x2c, 0x32));
    dark.setColor(QPalette::ButtonText, QColor(0xe6, 0xe6, 0xea));
    dark.setColor(QPalette::Highlight, QColor(0x1f, 0x6f, 0xd1));
    dark.setColor(QPalette::HighlightedText, Qt::white);
    dark.setColor(QPalette::ToolTipBase, QColor(0x2c, 0x2c, 0x32));
    dark.setColor(QPalette::ToolTipText, QColor(0xe6, 0xe6, 0xea));
    dark.setColor(QPalette::Disabled, QPalette::ButtonText, QColor(0x70, 0x70, 0x78));
    dark.setColor(QPalette::Disabled, QPalette::Text, QColor(0x70, 0x70, 0x78));
    app.setPalette(dark);
}

} // namespace quorvane
