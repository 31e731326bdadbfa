#pragma once

namespace utils {

/// Tag of constructors that leave out what a test fills in itself.
struct ForMock
{
};

}  // namespace utils
