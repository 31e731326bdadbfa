// The parts of Boost.JSON that are not in its headers, compiled here so that no library of its own is needed
// at a till.

#include <boost/json/src.hpp>
