// SPDX-License-Identifier: GPL-3.0-or-later
#include "index/IndexQuery.h"

#include "base/NativePath.h"

#include <algorithm>
#include <utility>

namespace vellumhound::index {

IndexQuery::IndexQuery(FileIndex &index, base::NotificationCenter &center)
    : _index(index)
    , _center(center)
    , _handover(std::make_unique<base::Handover<QueryAnswer>>(
          [this](QueryAnswer answer) { receive(std::move(answer)); }))
{
}

IndexQuery::~IndexQuery()
{
    stopQuery();
}

void IndexQuery::setPredicate(const platform::MetadataPredicate &predicate)
{
    _predicate = predicate;
}

void IndexQuery::setSearchScopes(const QStringList &scopes)
{
    _scopes = scopes;
}

bool IndexQuery::startQuery()
{
    stopQuery();
    _results.clear();
    auto run = std::make_shared<QueryRun>(_generation + 1, _handover->sender());
    for (const auto &condition : std::as_const(_predicate.anyOf)) {
        const bool isContent = condition.key == platform::NSMetadataItemTextContentKey;
        auto &texts = isContent ? run->contents : run->texts;
        const auto text = base::pathToBytes(condition.text).toStdString();
        if (!text.empty() && std::find(texts.begin(), texts.end(), text) == texts.end())
            texts.push_back(text);
    }
    if (run->texts.empty() && run->contents.empty())
        return false;
    ++_generation;
    _run = std::move(run);
    if (_scopes.isEmpty())
        _run->sender.send({_generation, {}});  // nothing to look through: the end, in a later turn
    else
        _index.startRun(_run, _scopes);
    return true;
}

void IndexQuery::stopQuery()
{
    if (const auto run = std::exchange(_run, nullptr))
        run->isCancelled = true;
}

std::shared_ptr<const platform::MetadataItem> IndexQuery::resultAt(qsizetype index) const
{
    if (index < 0 || index >= resultCount())
        return nullptr;
    if (index + 1 == resultCount())
        _wasReadToTheEnd = true;
    return _results[std::size_t(index)];
}

void IndexQuery::receive(QueryAnswer answer)
{
    const auto generation = answer.generation;
    const auto run = _run;
    if (!run || generation != _generation)
        return;
    _results.insert(_results.end(), std::make_move_iterator(answer.items.begin()),
        std::make_move_iterator(answer.items.end()));
    const bool isLast = !answer.hasMore && !answer.isCrawling;
    if (!isLast) {
        _wasReadToTheEnd = false;
        _center.post(
            QString::fromUtf16(base::Notifications::NSMetadataQueryGatheringProgressNotification),
            this);
        // A reader that has enough stops or destroys the query, which cancels the run.
        if (run->isCancelled)
            return;
        if (answer.hasMore && _wasReadToTheEnd) {
            _index.engine().askForMore(run);
            return;
        }
        if (answer.isCrawling) {
            if (answer.hasMore)
                _index.engine().passOver(run);
            return;
        }
    }
    stopQuery();
    _center.post(
        QString::fromUtf16(base::Notifications::NSMetadataQueryDidFinishGatheringNotification),
        this);
}

}  // namespace vellumhound::index
