#pragma once

namespace poshost {

/// What the process tells its caller. A signal that ends it gives 128 plus its number.
namespace exitstatus {
inline constexpr int Good = 0;          ///< every code passed; the servers answer; the events were sent
inline constexpr int Bad = 1;           ///< some code did not pass; no server answers
inline constexpr int Usage = 2;         ///< the command line, the configuration or a file is wrong
inline constexpr int NotServed = 3;     ///< the plug-in is idle or did not take the action
inline constexpr int OutputFailed = 4;  ///< standard output could not be written
}  // namespace exitstatus

}  // namespace poshost
