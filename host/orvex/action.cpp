#include <orvex/action.h>

namespace control {

Action::Action(EActionType type)
    : m_type(type)
    // Made here: what a plug-in would make itself could not outlive its library.
    , m_arguments(QSharedPointer<ValueMap>::create())
{
}

}  // namespace control
