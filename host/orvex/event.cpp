#include <orvex/event.h>

Event::Event(int code)
    : m_code(code)
    // Made here: what a plug-in would make itself could not outlive its library.
    , m_values(QSharedPointer<ValueMap>::create())
{
}
