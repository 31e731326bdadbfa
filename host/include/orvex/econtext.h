#pragma once

/// In which situation of the host something happens, and what a trigger answers.
struct EContext
{
    enum Code : int {
        /// The trigger serves the action in every situation.
        Any = 255,
    };

    enum Result : int {
        /// The trigger has put something into the action that the host is to carry on with (a task to run).
        Extended = 1,
        /// The trigger is done with the action: it has handled it, or has nothing to add to it.
        Done = 2,
        /// The action is not for this trigger.
        NotServed = 3,
    };
};
