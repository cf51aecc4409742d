// The internal source labels file: every label kept is for a source number the program can
// show, and is one trimmed, non-empty field of one line.
#include "fuzz_support.h"
#include "model/source_labels.h"

using namespace quorvane;

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size)
{
    const InternalSourceLabels labels =
        parseSourceLabels(QString::fromUtf8(fuzz::bytesOf(data, size)));
    for (auto it = labels.cbegin(); it != labels.cend(); ++it) {
        FUZZ_CHECK(it.key() >= firstSourceNumber && it.key() <= lastSourceNumber);
        const QString& label = it.value();
        FUZZ_CHECK(!label.isEmpty() && label == label.trimmed());
        FUZZ_CHECK(!label.contains(u',') && !label.contains(u'\n') && !label.contains(u'\r'));
    }
    return 0;
}
