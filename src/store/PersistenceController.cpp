// SPDX-License-Identifier: GPL-3.0-or-later
#include "store/PersistenceController.h"

#include "base/NativePath.h"

#include <utility>

using namespace Qt::StringLiterals;

namespace vellumhound::store {

PersistentContainer::PersistentContainer(std::unique_ptr<SqliteFile> file)
    : _file(std::move(file))
    , _viewContext(*_file)
{
}

PersistentContainer::~PersistentContainer() = default;

QString PersistentContainer::name() const
{
    return u"DataModel"_s;
}

PersistenceController::PersistenceController(std::unique_ptr<PersistentContainer> container)
    : _container(std::move(container))
{
}

QString PersistenceController::standardStorePath()
{
    return base::appendingPathComponent(
        base::baseDirectory("XDG_DATA_HOME", u".local/share"_s), u"vellumhound/DataModel.sqlite"_s);
}

base::Result<std::unique_ptr<PersistenceController>> PersistenceController::load(
    const QString &storePath, StoreAccess access)
{
    auto file = SqliteFile::open(storePath, access);
    if (!file)
        return file.error();
    auto container = std::make_unique<PersistentContainer>(std::move(file).value());
    return std::unique_ptr<PersistenceController>(new PersistenceController(std::move(container)));
}

QString fatalErrorTitle()
{
    return u"Fatal error"_s;
}

QString fatalErrorMessage(const base::Error &error)
{
    return u"Error: "_s + error.description;
}

}  // namespace vellumhound::store
