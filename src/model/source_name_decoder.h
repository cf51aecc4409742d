#pragma once

#include "source_name.h"

#include <QByteArrayView>
#include <vector>

namespace quorvane {

class DebugLogger;

// One name record of a 0x020b message.
struct DecodedSourceName {
    int source = 0;
    QString eng;
    QString panel;
    QString oled;
    QString menu;
    bool live = false; // a single rename rather than part of a full load

    friend bool operator==(const DecodedSourceName&, const DecodedSourceName&) = default;
};

// Finds the 0x020b marker in a datagram and decodes the name records after it.
std::vector<DecodedSourceName> parseSourceNameData020b(QByteArrayView datagram,
                                                       DebugLogger& logger);

// Decodes the name records of a datagram whose 0x020b marker ends at `offset`.
std::vector<DecodedSourceName> parseSourceRecords020b(QByteArrayView datagram, qsizetype offset,
                                                      DebugLogger& logger);

// Merges decoded records into `names`. An empty decoded name never erases a known one, so a
// live rename that carries only some names keeps the others.
void mergeSourceNames(SourceNameTable& names, const std::vector<DecodedSourceName>& records,
                      DebugLogger& logger);

// Logs how many sources have which kind of name; returns the number of entries.
qsizetype logSourceNamesSummary(const SourceNameTable& names, DebugLogger& logger);

} // namespace quorvane
