#pragma once

// Part of the JSON show file reader. Not for use outside it.

#include "show_file.h"

#include <QByteArrayView>
#include <optional>

namespace quorvane::showfile {

// The first string of `json` that JSON does not allow: one holding an escape other than \" \\ \/
// \b \f \n \r \t and \u with four hexadecimal digits, or a control character (below U+0020) as
// it is. QJsonDocument takes both, and drops the backslash of an unknown escape, so "A\qB"
// would quietly read as "AqB". Outside strings the text is left to QJsonDocument.
std::optional<ShowFileProblem> invalidString(QByteArrayView json);

} // namespace quorvane::showfile
