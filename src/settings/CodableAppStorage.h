// SPDX-License-Identifier: GPL-3.0-or-later
#pragma once

#include "base/Result.h"
#include "settings/UserDefaults.h"

#include <concepts>
#include <functional>
#include <utility>

namespace vellumhound::settings {

/// A record that knows its own JSON text. `decoded` is strict about types and complete about
/// defaults of missing fields; `encoded` writes the fields in the order of their declaration.
template <class Record>
concept CodableRecord = requires(const Record &record, const QByteArray &json)
{
    {
        Record::decoded(json)
        } -> std::same_as<base::Result<Record>>;
    {
        record.encoded()
        } -> std::same_as<base::Result<QByteArray>>;
};

struct RecordDecoder {
    template <CodableRecord Record> base::Result<Record> decode(const QByteArray &json) const
    {
        return Record::decoded(json);
    }
};

struct RecordEncoder {
    template <CodableRecord Record> base::Result<QByteArray> encode(const Record &record) const
    {
        return record.encoded();
    }
};

/// A typed view of one key of the defaults that holds a JSON record: the one way in which settings
/// are read and written. A small value; any number of them may stand on one key, and all see each
/// other's writes, as each read goes to the store and none keeps a record.
///
/// Reading never fails: what cannot be decoded reads as the default record and stays as it is in
/// the store until it is set. A record that cannot be encoded is not stored, and nothing tells so.
/// Writing belongs to the main thread, reading to any. The defaults outlive it.
template <CodableRecord Record> class CodableAppStorage {
public:
    /// Writes nothing.
    CodableAppStorage(Record initialValue, QString key, UserDefaults &store)
        : _key(std::move(key))
        , _defaultValue(std::move(initialValue))
        , _store(&store)
    {
        auto encoded = _encoder.encode(_defaultValue);
        _defaultData = encoded ? std::move(encoded).value() : QByteArray("");
    }

    const QString &key() const { return _key; }
    const Record &defaultValue() const { return _defaultValue; }
    /// The stored bytes; while there are none, those of the default record, empty if that cannot be
    /// encoded.
    QByteArray data() const { return _store->data(_key).value_or(_defaultData); }

    Record wrappedValue() const
    {
        auto decoded = _decoder.template decode<Record>(data());
        return decoded ? std::move(decoded).value() : _defaultValue;
    }
    void setWrappedValue(const Record &record) const
    {
        if (const auto encoded = _encoder.encode(record))
            _store->setData(_key, encoded.value());
    }
    /// One get, `change(record)`, one set.
    template <std::invocable<Record &> Change> void modify(Change change) const
    {
        auto record = wrappedValue();
        change(record);
        setWrappedValue(record);
    }

    /// A two-way binding for a control; it keeps a copy of the wrapper.
    struct Binding {
        std::function<Record()> get;
        std::function<void(const Record &)> set;
    };
    Binding projectedValue() const
    {
        return {[copy = *this] { return copy.wrappedValue(); },
            [copy = *this](const Record &record) { copy.setWrappedValue(record); }};
    }

    /// Calls `handler` after each change of the key, by whichever writer, as long as `context`
    /// lives.
    QMetaObject::Connection onChange(QObject *context, std::function<void()> handler) const
    {
        return QObject::connect(_store, &UserDefaults::valueChanged, context,
            [key = _key, handler = std::move(handler)](const QString &changed) {
                if (changed == key)
                    handler();
            });
    }

private:
    QByteArray _defaultData;
    QString _key;
    Record _defaultValue;
    UserDefaults *_store;
    RecordDecoder _decoder;
    RecordEncoder _encoder;
};

}  // namespace vellumhound::settings
