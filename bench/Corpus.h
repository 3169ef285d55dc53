// SPDX-License-Identifier: GPL-3.0-or-later
#pragma once

#include <cstdint>
#include <random>
#include <string>
#include <vector>

namespace vellumhound::bench {

/// One entry of an invented home directory. Folders stand before what is in them.
struct CorpusEntry {
    std::uint32_t parent = 0;  ///< number of an entry that is a folder; the first is the top
    bool isFolder = false;
    std::string name;
};

/// The same names for the same seed, on every machine: documents, photographs and projects with
/// their dependency trees; about one in nine not ASCII, Cyrillic among them.
class Corpus {
public:
    Corpus(std::uint32_t seed, std::size_t count)
        : _random(seed)
    {
        entries.push_back({0, true, "top"});
        std::vector<std::uint32_t> folders{0};
        while (entries.size() < count) {
            // Most entries go where the last ones went, as in a real tree.
            const auto recent = std::min<std::size_t>(folders.size(), 40);
            const auto parent = folders[folders.size() - 1 - pick(recent)];
            if (pick(14) == 0) {
                const auto above = folders[pick(folders.size())];
                folders.push_back(std::uint32_t(entries.size()));
                entries.push_back({above, true, pick(9) == 0 ? "node_modules" : words(2)});
            } else {
                entries.push_back({parent, false, fileName()});
            }
        }
    }

    std::vector<CorpusEntry> entries;

private:
    // Not std::uniform_int_distribution: its values differ between libraries.
    std::size_t pick(std::size_t count) { return std::size_t(_random()) % count; }

    template <std::size_t count> const char *oneOf(const char *const (&list)[count])
    {
        return list[pick(count)];
    }

    std::string words(std::size_t most)
    {
        static constexpr const char *plain[] = {"invoice", "report", "meeting", "budget", "draft",
            "final", "notes", "project", "presentation", "contract", "letter", "summary", "plan",
            "review", "design", "proposal", "schedule", "receipt", "travel", "holiday", "family",
            "chapter", "lecture", "recipe", "photo", "scan", "backup", "archive", "export", "data",
            "analysis", "results", "figure", "agenda", "minutes", "offer", "order", "insurance",
            "certificate", "manual", "guide", "index", "config", "template", "module", "server",
            "client", "parser", "helper", "utils", "types", "constants", "button", "service"};
        static constexpr const char *other[] = {"Rechnung März", "Straße", "Größe", "Prüfung",
            "Résumé", "été", "Noël", "niño", "informação", "żółw", "łódź", "příručka", "København",
            "протокол", "договор", "Счёт", "Отчёт", "фото", "Москва", "会議", "写真", "사진",
            "文档", "Ελλάδα", "שלום", "صورة", "เอกสาร", "Việt Nam"};
        static constexpr const char *separators[] = {" ", "_", "-"};
        const std::string separator = oneOf(separators);
        std::string text;
        for (auto left = 1 + pick(most); left > 0; --left) {
            std::string word = pick(18) == 0 ? oneOf(other) : oneOf(plain);
            if (pick(3) == 0 && word[0] >= 'a' && word[0] <= 'z')
                word[0] = char(word[0] - 'a' + 'A');
            text += (text.empty() ? "" : separator) + word;
        }
        return text;
    }

    std::string fileName()
    {
        static constexpr const char *endings[] = {"pdf", "docx", "xlsx", "txt", "odt", "md", "jpg",
            "png", "csv", "zip", "mp3", "html", "js", "ts", "json", "py", "cpp", "h", "svg", "map"};
        if (pick(5) == 0)
            return "IMG_20" + std::to_string(10 + pick(16)) + std::to_string(1000 + pick(9000)) +
                   "_" + std::to_string(100000 + pick(900000)) + ".jpg";
        auto name = words(3);
        if (pick(3) == 0)
            name += " " + std::to_string(pick(100000));
        return name + "." + oneOf(endings);
    }

    std::mt19937 _random;
};

}  // namespace vellumhound::bench
