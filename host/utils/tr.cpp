#include <utils/tr.h>

#include <utility>

namespace tr {

Tr::Tr(QString id, QString russian)
    : m_id(std::move(id))
    , m_russian(std::move(russian))
{
}

}  // namespace tr
