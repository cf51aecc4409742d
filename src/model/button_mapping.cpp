#include "button_mapping.h"

namespace quorvane {

QString mappingKey(Bus bus, int buttonCount, int shift, int button)
{
    return busName(bus) + u'-' + QString::number(buttonCount) + u'-' + QString::number(shift) +
           u'-' + QString::number(button);
}

QString modeKey(Bus bus, int buttonCount)
{
    return busName(bus) + u'-' + QString::number(buttonCount);
}

} // namespace quorvane
