#pragma once

namespace quorvane::cli {

// What the tool tells a script through its exit status. The values are documented in --help
// and the README and must not change.
enum class ExitCode {
    ok = 0,               // done; diff: the frame agrees; apply: the read-back agrees
    differ = 1,           // diff: buttons differ; apply: the read-back differs from the file
    usage = 2,            // bad command line, or a show file that cannot be used
    connectionFailed = 3, // the frame could not be reached, or the link was lost
    incomplete = 4,       // the frame did not answer for some buttons, even when asked again
};

constexpr int exitStatus(ExitCode code)
{
    return static_cast<int>(code);
}

} // namespace quorvane::cli
