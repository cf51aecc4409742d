#pragma once

// What any read of a show file must give, from either reader: a file or problems, never both;
// each problem one line that points into the file; a file within every limit, sorted, each
// button once, which written again in either format reads back to the same.

#include "fuzz_support.h"
#include "model/button_address.h"
#include "model/show_file.h"

namespace quorvane::fuzz {

inline bool isOneLine(const QString& text)
{
    for (QChar c : text) {
        if (c.unicode() < 0x20 || c.unicode() == 0x7F)
            return false;
    }
    return !text.isEmpty();
}

inline void checkButtons(const QList<ShowButton>& buttons, int buttonCount)
{
    for (qsizetype i = 0; i < buttons.size(); ++i) {
        const ShowButton& button = buttons[i];
        FUZZ_CHECK(button.shift >= 1 && button.shift <= 4);
        FUZZ_CHECK(button.button >= 1 && button.button <= buttonCount);
        FUZZ_CHECK(button.source >= 0 && button.source <= lastSourceNumber);
        FUZZ_CHECK(button.name.isValidUtf16());
        if (i > 0) {
            const ShowButton& before = buttons[i - 1];
            FUZZ_CHECK(std::tuple(before.bus, before.shift, before.button) <
                       std::tuple(button.bus, button.shift, button.button));
        }
    }
}

inline void checkShowFileResult(const ShowFileResult& result, QByteArrayView input)
{
    FUZZ_CHECK(result.file.has_value() == result.problems.isEmpty());
    const int lines = static_cast<int>(input.count('\n')) + 1;
    for (const ShowFileProblem& problem : result.problems) {
        FUZZ_CHECK(isOneLine(problem.text()));
        FUZZ_CHECK(problem.line >= 0 && problem.line <= lines);
    }
    if (!result.file)
        return;

    const ShowFile& file = *result.file;
    FUZZ_CHECK(file.suite >= 1 && file.suite <= 4);
    FUZZ_CHECK(isSupportedButtonCount(file.buttonCount));
    FUZZ_CHECK(file.frameName.isValidUtf16() && file.frameVersion.isValidUtf16() &&
               file.frameAddress.isValidUtf16());
    checkButtons(file.buttons, file.buttonCount);

    const ShowFileResult json = readShowJson(writeShowJson(file));
    FUZZ_CHECK(json.file == file);
    const ShowFileResult csv = readShowCsv(writeShowCsv(file), file.buttonCount);
    FUZZ_CHECK(csv.file && csv.file->buttons == file.buttons && csv.file->sources == file.sources);
    for (auto it = file.sources.cbegin(); it != file.sources.cend(); ++it)
        FUZZ_CHECK(it.key() >= 1 && it.key() <= lastNamedSource);
}

} // namespace quorvane::fuzz
