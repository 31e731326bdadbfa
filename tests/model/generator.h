#pragma once

#include <rapidcheck/Gen.h>

#include "tests/model/schedule.h"

/// Schedules that reach everything that can happen. They shrink to fewer steps and plainer numbers.
[[nodiscard]] rc::Gen<Schedule> schedules();
