#pragma once

namespace quorvane {

// How many times in all a connect is made when the frame leaves the handshake or the first
// PINGs unanswered. The handshake already sends every lost message again; what is left is a
// frame busy at that moment or a burst of loss, which a second attempt usually gets past. More
// attempts would keep the operator (or a script) waiting on a frame that is not there.
inline constexpr int defaultConnectAttempts = 2;

} // namespace quorvane
