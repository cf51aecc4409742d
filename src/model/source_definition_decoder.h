#pragma once

#include "source_name.h"

#include <QByteArrayView>
#include <vector>

namespace quorvane {

class DebugLogger;

// One engineering name taken from a 0x0210 source definition record.
struct EngineeringName {
    int source = 0;
    QString name;

    friend bool operator==(const EngineeringName&, const EngineeringName&) = default;
};

// Checks that a datagram is a 0x0210 message, finds its first record and decodes them all.
std::vector<EngineeringName> parseSourceDefinitionData(QByteArrayView datagram,
                                                       DebugLogger& logger);

// Decodes the definition records from `offset` on.
std::vector<EngineeringName> parseSourceRecords0210(QByteArrayView datagram, qsizetype offset,
                                                    DebugLogger& logger);

// Sets the engineering name of each source, creating entries as needed; other names stay.
void mergeEngineeringNames(SourceNameTable& names, const std::vector<EngineeringName>& decoded,
                           DebugLogger& logger);

} // namespace quorvane
