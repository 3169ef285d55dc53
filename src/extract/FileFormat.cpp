// SPDX-License-Identifier: GPL-3.0-or-later
#include "extract/FileFormat.h"

#include "extract/Secrets.h"

#include <algorithm>
#include <array>
#include <string_view>
#include <unordered_map>

namespace vellumhound::extract {
namespace {

using Table = std::unordered_map<std::string_view, FileFormat>;

// Blanks part the words.
constexpr std::string_view textExtensions =
    "txt text log me nfo asc utf8 md markdown mdown mkd rst adoc asciidoc org textile wiki pod man "
    "csv tsv psv json jsonl ndjson json5 geojson yaml yml toml ini cfg conf config cnf properties "
    "desktop service socket timer mount target rules list sources repo spec pc pot po "
    "xml xsd xsl xslt dtd rss atom opml gpx kml plist xmp wsdl resx ui qrc "
    "tex ltx latex sty cls bib bst bbl lyx ly typ "
    "srt sub vtt ass ssa lrc sbv ics ifb vcf vcard ldif eps ps "
    "c h cc cpp cxx c++ hh hpp hxx h++ inl ipp tpp m mm cu cl glsl vert frag comp hlsl wgsl "
    "rs go java kt kts scala groovy gradle clj cljs cljc edn cs fs fsx vb swift d zig nim v vala "
    "py pyw pyi pyx rb erb rake gemspec pl pm t php php5 phtml lua tcl r rmd jl js mjs cjs jsx ts "
    "tsx vue svelte astro coffee dart elm ex exs erl hrl hs lhs ml mli mll mly sml f f77 f90 f95 "
    "f03 for pas pp dpr lpr inc asm s nasm ada adb ads cob cbl lisp lsp el scm ss rkt pro sql psql "
    "graphql gql proto thrift idl sh bash zsh fish ksh csh ps1 psm1 bat cmd awk sed vim vimrc "
    "css scss sass less styl jinja j2 tmpl mustache hbs pug ejs haml cmake mk mak make ninja bazel "
    "bzl gyp gn am ac in m4 diff patch dockerfile tf tfvars hcl nix gv puml plantuml mmd "
    "gitignore gitattributes gitmodules editorconfig lock sum cabal opam qml qss pri ipynb "
    "tab reg url webloc eclass ebuild lst err out trace changes dsc";
constexpr std::string_view textNames =
    "readme makefile gnumakefile license licence copying copyright authors contributors "
    "maintainers "
    "changelog changes news todo install thanks history notice version dockerfile containerfile "
    "vagrantfile jenkinsfile rakefile gemfile procfile brewfile justfile pkgbuild kconfig kbuild "
    "codeowners .bashrc .bash_profile .bash_aliases .bash_logout .profile .zshrc .zshenv .zprofile "
    ".inputrc .vimrc .gvimrc .emacs .tmux.conf .screenrc .gitconfig .gitignore .gitattributes "
    ".gitmodules .editorconfig .clang-format .clang-tidy .npmrc .htaccess .xinitrc .xprofile "
    ".xresources .dockerignore .mailmap .nanorc .wgetrc .curlrc fstab hosts crontab";

void addAll(Table &table, std::string_view words, FileFormat format)
{
    while (!words.empty()) {
        const auto end = std::min(words.find(' '), words.size());
        if (end > 0)
            table.emplace(words.substr(0, end), format);
        words.remove_prefix(std::min(end + 1, words.size()));
    }
}

Table tableOfExtensions()
{
    Table table;
    addAll(table, textExtensions, FileFormat::plainText);
    addAll(table, "html htm xhtml xht shtml", FileFormat::html);
    addAll(table, "svg fodt fods fodp fodg fb2", FileFormat::xml);
    addAll(table, "pdf", FileFormat::pdf);
    addAll(table, "odt ods odp odg odf odm ott ots otp otg oth", FileFormat::openDocument);
    addAll(table, "docx docm dotx dotm xlsx xlsm xltx xltm pptx pptm ppsx ppsm potx potm",
        FileFormat::officeOpenXml);
    addAll(table, "epub", FileFormat::epub);
    addAll(table, "rtf doc dot", FileFormat::rtf);  // many a .doc is RTF; the others are refused
    addAll(table, "eml emlx mht mhtml", FileFormat::mail);
    addAll(table, "mbox mbx", FileFormat::mailbox);
    return table;
}

Table tableOfNames()
{
    Table table;
    addAll(table, textNames, FileFormat::plainText);
    return table;
}

/// The ASCII letters made small; nothing if the text is longer than any word of the tables.
class SmallLetters {
public:
    explicit SmallLetters(std::string_view text)
    {
        if (text.size() > _letters.size())
            return;
        for (const char c : text)
            _letters[_size++] = c >= 'A' && c <= 'Z' ? char(c - 'A' + 'a') : c;
    }
    std::string_view view() const { return {_letters.data(), _size}; }

private:
    std::array<char, 24> _letters{};
    std::size_t _size = 0;
};

FileFormat lookedUp(const Table &table, std::string_view word)
{
    const SmallLetters small(word);
    const auto found = small.view().empty() ? table.end() : table.find(small.view());
    return found == table.end() ? FileFormat::none : found->second;
}

}  // namespace

FileFormat formatOf(std::string_view fileName)
{
    if (isSecretName(fileName))
        return FileFormat::none;
    static const Table extensions = tableOfExtensions();
    static const Table names = tableOfNames();
    const auto dot = fileName.rfind('.');
    if (dot != std::string_view::npos && dot > 0) {
        const auto format = lookedUp(extensions, fileName.substr(dot + 1));
        if (format != FileFormat::none)
            return format;
    }
    return lookedUp(names, fileName);
}

}  // namespace vellumhound::extract
