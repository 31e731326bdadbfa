#pragma once

#include <functional>
#include <utility>

#include <orvex/action.h>
#include <orvex/econtext.h>
#include <utils/export.h>

/// A function that the host calls for actions of one type. A value; handed to BasicPlugin::addTrigger().
class ORVEX_EXPORT ActionTrigger
{
public:
    using Function = std::function<EContext::Result(const control::Action&)>;

    /// When the trigger is called: as the action begins, or after the host's own part.
    enum Order : int { Before = 0, During = 1, After = 2 };
    /// Which result of earlier triggers it waits for.
    enum Result : int { Whatever = 0 };
    /// Within one order, triggers of the lower number are called first.
    enum Priority : int { Highest = 1, High = 2, Normal = 3, Low = 4 };

    ActionTrigger(EContext::Code context, control::EActionType actionType, Order order, Function function,
                  Result result, Priority priority)
        : m_context(context)
        , m_actionType(actionType)
        , m_order(order)
        , m_function(std::move(function))
        , m_result(result)
        , m_priority(priority)
    {
    }

    [[nodiscard]] EContext::Code context() const { return m_context; }
    [[nodiscard]] control::EActionType actionType() const { return m_actionType; }
    [[nodiscard]] Order order() const { return m_order; }
    [[nodiscard]] const Function& function() const { return m_function; }
    [[nodiscard]] Result result() const { return m_result; }
    [[nodiscard]] Priority priority() const { return m_priority; }

private:
    EContext::Code m_context;
    control::EActionType m_actionType;
    Order m_order;
    Function m_function;
    Result m_result;
    Priority m_priority;
};
