#include <orvex/event.h>

Event::Event(int code)
    : m_code(code)
    , m_values(QSharedPointer<ValueMap>::create())
{
}
