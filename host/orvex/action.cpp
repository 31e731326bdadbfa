#include <orvex/action.h>

namespace control {

Action::Action(EActionType type)
    : m_type(type)
    , m_arguments(QSharedPointer<ValueMap>::create())
{
}

}  // namespace control
