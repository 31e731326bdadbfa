#include <orvex/actiontrigger.h>

#include <utility>

ActionTrigger::ActionTrigger(EContext::Code context, control::EActionType actionType, Order order,
                             Function function, Result result, Priority priority)
    : m_context(context)
    , m_actionType(actionType)
    , m_order(order)
    , m_function(std::move(function))
    , m_result(result)
    , m_priority(priority)
{
}
