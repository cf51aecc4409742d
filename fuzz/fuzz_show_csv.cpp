// The CSV show-file reader on any bytes, at every panel width: see show_file_properties.h.
#include "show_file_properties.h"

using namespace quorvane;

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size)
{
    if (size == 0)
        return 0;
    // The first byte picks the panel width the rows are read at, the rest is the file.
    const int width = supportedButtonCounts[data[0] % supportedButtonCounts.size()];
    const QByteArray input = fuzz::bytesOf(data + 1, size - 1).toByteArray();
    const ShowFileResult result = readShowCsv(input, width);
    fuzz::checkShowFileResult(result, input);
    if (result.file)
        FUZZ_CHECK(result.file->buttonCount == width && result.file->suite == 1);
    return 0;
}
