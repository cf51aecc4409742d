// The JSON show-file reader on any bytes: see show_file_properties.h.
#include "show_file_properties.h"

using namespace quorvane;

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size)
{
    const QByteArray input = fuzz::bytesOf(data, size).toByteArray();
    fuzz::checkShowFileResult(readShowJson(input), input);
    return 0;
}
