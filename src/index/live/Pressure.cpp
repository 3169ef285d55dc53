// SPDX-License-Identifier: GPL-3.0-or-later
#include "index/live/Pressure.h"

#include <charconv>
#include <cstdint>
#include <fstream>
#include <optional>
#include <string_view>
#include <utility>

namespace vellumhound::index {

using namespace std::chrono_literals;

namespace {

// Some disk work always goes on and harms nobody; waiting for memory is felt at once.
constexpr double tooMuchIoPercent = 20;
constexpr double tooMuchMemoryPercent = 5;
constexpr auto betweenLooks = 1s;
constexpr auto shortestTellingRest = 100ms;
/// So long the average still holds what happened before the rest.
constexpr auto restCountsFor = 10s;

/// The number behind a label; independent of how the user's language writes numbers.
template <class Number> std::optional<Number> numberBehind(std::string_view text, const char *label)
{
    const auto at = text.find(label);
    if (at == std::string_view::npos)
        return std::nullopt;
    text.remove_prefix(at + std::string_view(label).size());
    Number number{};
    const auto parsed = std::from_chars(text.data(), text.data() + text.size(), number);
    return parsed.ec == std::errc() ? std::optional(number) : std::nullopt;
}

Stall readStall(const std::string &path)
{
    std::ifstream file(path);
    std::string line;
    // The first line is about times when at least one program waited.
    if (!std::getline(file, line) || !line.starts_with("some "))
        return {};
    const auto percent = numberBehind<double>(line, " avg10=");
    const auto total = numberBehind<std::int64_t>(line, " total=");
    return percent && total ? Stall{*percent, std::chrono::microseconds(*total)} : Stall{};
}

bool isTooMuch(double ioPercent, double memoryPercent)
{
    return ioPercent >= tooMuchIoPercent || memoryPercent >= tooMuchMemoryPercent;
}

}  // namespace

PressureReading readPressure(const std::string &folder)
{
    return {readStall(folder + "/memory"), readStall(folder + "/io")};
}

Pressure::Pressure(std::function<PressureReading()> read, std::function<Time()> now)
    : _read(std::move(read))
    , _now(std::move(now))
    , _validUntil(Time::min())
{
}

bool Pressure::shouldPause()
{
    const auto now = _now();
    if (now >= _validUntil) {
        const auto reading = _read();
        _isHigh = isTooMuch(reading.io.percentOfTenSeconds, reading.memory.percentOfTenSeconds);
        _validUntil = now + betweenLooks;
    }
    return _isHigh;
}

void Pressure::beginRest()
{
    _atRest = _read();
    _restSince = _now();
}

void Pressure::endRest()
{
    const auto now = _now();
    const auto rested = now - _restSince;
    if (rested < shortestTellingRest)
        return;
    const auto reading = _read();
    const auto percent = [&](const Stall &before, const Stall &after) {
        return 100 * std::chrono::duration<double>(after.total - before.total).count() /
               std::chrono::duration<double>(rested).count();
    };
    _isHigh = isTooMuch(percent(_atRest.io, reading.io), percent(_atRest.memory, reading.memory));
    _validUntil = now + restCountsFor;
}

}  // namespace vellumhound::index
