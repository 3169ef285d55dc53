// SPDX-License-Identifier: GPL-3.0-or-later
#include "store/ManagedObject.h"

using namespace Qt::StringLiterals;

namespace vellumhound::store {

QString ManagedObject::uriRepresentation() const
{
    if (_rowId != 0)
        return u"x-vellumhound://%1/p%2"_s.arg(_entityName).arg(_rowId);
    return u"x-vellumhound:///%1/t%2"_s.arg(_entityName).arg(_temporaryId);
}

}  // namespace vellumhound::store
