// Calls a model function the way its first argument says, so that a test can watch from the
// outside whether a broken caller rule stops the program.
//
//   base-zero      parameterBase(0)
//   locate-zero    locateButton(16, 0)
//   locate-huge    locateButton(16, INT_MAX): the row width overflows an int
//   ok             valid calls only; exits 0
#include "model/button_address.h"

#include <climits>
#include <cstdio>
#include <cstring>

using namespace quorvane;

int main(int argc, char** argv)
{
    if (argc != 2) {
        std::fputs("usage: programming_error_probe base-zero|locate-zero|locate-huge|ok\n", stderr);
        return 2;
    }
    const char* what = argv[1];
    if (std::strcmp(what, "base-zero") == 0) {
        std::printf("%d\n", parameterBase(0));
    } else if (std::strcmp(what, "locate-zero") == 0) {
        std::printf("%d\n", locateButton(16, 0).has_value());
    } else if (std::strcmp(what, "locate-huge") == 0) {
        std::printf("%d\n", locateButton(16, INT_MAX).has_value());
    } else if (std::strcmp(what, "ok") == 0) {
        const std::optional<ButtonPosition> position = locateButton(19 + 320, 20);
        if (parameterBase(20) != 19 || !position || position->shift != 2 || position->button != 1)
            return 1;
    } else {
        std::fprintf(stderr, "unknown call: %s\n", what);
        return 2;
    }
    return 0;
}
