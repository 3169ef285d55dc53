// SPDX-License-Identifier: GPL-3.0-or-later
#include "extract/helper/RtfCodePages.h"

#include <map>

namespace vellumhound::extract::helper {

std::string charsetOfCodePage(int codePage)
{
    static const std::map<int, std::string> others{{437, "IBM437"}, {850, "IBM850"},
        {852, "IBM852"}, {866, "IBM866"}, {874, "windows-874"}, {932, "windows-31j"}, {936, "GBK"},
        {949, "windows-949"}, {950, "Big5"}, {10000, "macintosh"}, {20866, "KOI8-R"},
        {65001, "UTF-8"}};
    if (codePage >= 1250 && codePage <= 1258)
        return "windows-" + std::to_string(codePage);
    const auto found = others.find(codePage);
    return found == others.end() ? "windows-1252" : found->second;
}

int codePageOfFontCharset(int fontCharset)
{
    static const std::map<int, int> pages{{0, 1252}, {77, 10000}, {128, 932}, {129, 949},
        {134, 936}, {136, 950}, {161, 1253}, {162, 1254}, {163, 1258}, {177, 1255}, {178, 1256},
        {186, 1257}, {204, 1251}, {222, 874}, {238, 1250}, {255, 850}};
    const auto found = pages.find(fontCharset);
    return found == pages.end() ? 0 : found->second;
}

}  // namespace vellumhound::extract::helper
