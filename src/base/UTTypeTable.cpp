// SPDX-License-Identifier: GPL-3.0-or-later
#include "base/UTTypeTable.h"

namespace vellumhound::base {

namespace {

// clang-format off
constexpr DeclaredType types[] = {
    // The roots: what a thing is on disk, and what it holds.
    {u"public.item", u"", u"", u""},
    {u"public.content", u"", u"", u""},
    {u"public.composite-content", u"public.content", u"", u""},
    {u"public.data", u"public.item", u"application/octet-stream", u"bin dat"},
    {u"public.directory", u"public.item", u"", u""},
    {u"public.folder", u"public.directory", u"inode/directory", u""},
    {u"public.volume", u"public.folder", u"inode/mount-point", u""},
    {u"public.symlink", u"public.item", u"inode/symlink", u""},
    {u"public.bookmark", u"public.item", u"", u""},
    {u"public.alias", u"public.item", u"", u""},
    {u"com.apple.package", u"public.directory", u"", u""},
    {u"com.apple.bundle", u"public.directory", u"", u""},
    {u"public.url", u"public.data", u"application/x-mswinurl", u"url webloc"},
    {u"public.file-url", u"public.url", u"", u""},

    // What runs.
    {u"public.executable", u"public.item", u"", u""},
    {u"public.unix-executable", u"public.data public.executable", u"application/x-executable application/x-sharedlib application/x-pie-executable", u""},
    {u"com.apple.application", u"public.executable", u"", u""},
    {u"com.apple.application-bundle", u"com.apple.application com.apple.bundle com.apple.package", u"", u""},
    {u"org.freedesktop.desktop-entry", u"public.data", u"application/x-desktop", u"desktop directory"},
    {u"org.appimage.appimage", u"com.apple.application public.data", u"application/vnd.appimage application/x-iso9660-appimage", u"appimage"},

    // Text.
    {u"public.text", u"public.data public.content", u"", u""},
    {u"public.plain-text", u"public.text", u"text/plain text/x-readme text/x-copying text/x-authors text/x-credits text/x-install text/x-changelog", u"txt asc text env"},
    {u"public.utf8-plain-text", u"public.plain-text", u"", u""},
    {u"public.rtf", u"public.text public.content", u"application/rtf", u"rtf"},
    {u"public.html", u"public.text", u"text/html", u"html htm"},
    {u"public.xml", u"public.text", u"application/xml application/xslt+xml application/relaxng", u"xml xsd xsl xslt rng"},
    {u"public.xhtml", u"public.xml", u"application/xhtml+xml", u"xhtml xht"},
    {u"public.json", u"public.text", u"application/json application/schema+json application/ld+json application/geo+json", u"json jsonld geojson geo.json"},
    {u"public.yaml", u"public.text", u"application/x-yaml", u"yaml yml"},
    {u"public.toml", u"public.plain-text", u"application/toml", u"toml"},
    {u"net.daringfireball.markdown", u"public.plain-text", u"text/markdown", u"md mkd markdown"},
    {u"public.delimited-values-text", u"public.text", u"", u""},
    {u"public.comma-separated-values-text", u"public.delimited-values-text", u"text/csv", u"csv"},
    {u"public.tab-separated-values-text", u"public.delimited-values-text", u"text/tab-separated-values", u"tsv"},
    {u"public.css", u"public.text", u"text/css", u"css"},
    {u"public.vcard", u"public.text", u"text/vcard", u"vcf vcard"},
    {u"public.calendar-event", u"public.text", u"text/calendar", u"ics vcs"},
    {u"org.tug.tex", u"public.text", u"text/x-tex", u"tex ltx latex"},
    {u"public.patch-file", u"public.plain-text", u"text/x-patch", u"diff patch"},
    {u"public.log", u"public.plain-text", u"text/x-log", u"log"},
    {u"public.playlist", u"public.text", u"audio/x-scpls", u"pls"},
    {u"public.m3u-playlist", u"public.playlist", u"application/vnd.apple.mpegurl audio/x-mpegurl", u"m3u m3u8"},

    // Source code.
    {u"public.source-code", u"public.plain-text", u"", u"vue svelte jsx"},
    {u"public.script", u"public.source-code", u"", u""},
    {u"public.shell-script", u"public.script", u"application/x-shellscript application/x-csh", u"sh bash zsh fish"},
    {u"public.python-script", u"public.script", u"text/x-python text/x-python3", u"py pyx pyi pyw"},
    {u"public.perl-script", u"public.script", u"application/x-perl", u"pl pm"},
    {u"public.ruby-script", u"public.script", u"application/x-ruby", u"rb"},
    {u"public.php-script", u"public.script", u"application/x-php", u"php"},
    {u"com.netscape.javascript-source", u"public.script", u"application/javascript application/ecmascript", u"js mjs jsm cjs"},
    {u"public.typescript", u"public.source-code", u"", u"ts tsx mts cts"},
    {u"public.c-source", u"public.source-code", u"text/x-csrc", u"c"},
    {u"public.c-header", u"public.source-code", u"text/x-chdr", u"h"},
    {u"public.c-plus-plus-source", u"public.source-code", u"text/x-c++src", u"cpp cc cxx c++"},
    {u"public.c-plus-plus-header", u"public.source-code", u"text/x-c++hdr", u"hpp hh hxx h++"},
    {u"public.objective-c-source", u"public.source-code", u"text/x-objcsrc", u"m mm"},
    {u"public.swift-source", u"public.source-code", u"", u"swift"},
    {u"com.sun.java-source", u"public.source-code", u"text/x-java", u"java"},
    {u"org.rust-lang.rust-source", u"public.source-code", u"text/rust", u"rs"},
    {u"org.golang.go-source", u"public.source-code", u"text/x-go", u"go"},
    {u"public.csharp-source", u"public.source-code", u"text/x-csharp", u"cs"},
    {u"public.kotlin-source", u"public.source-code", u"text/x-kotlin", u"kt kts"},
    {u"public.lua-source", u"public.source-code", u"text/x-lua", u"lua"},
    {u"public.sql", u"public.source-code", u"application/sql", u"sql"},
    {u"public.make-source", u"public.source-code", u"text/x-makefile", u"mk"},
    {u"public.cmake-source", u"public.source-code", u"text/x-cmake", u"cmake"},

    // Pictures.
    {u"public.image", u"public.data public.content", u"", u""},
    {u"public.jpeg", u"public.image", u"image/jpeg", u"jpg jpeg jpe jfif"},
    {u"public.png", u"public.image", u"image/png", u"png"},
    {u"com.compuserve.gif", u"public.image", u"image/gif", u"gif"},
    {u"public.tiff", u"public.image", u"image/tiff", u"tif tiff"},
    {u"com.microsoft.bmp", u"public.image", u"image/bmp", u"bmp dib"},
    {u"com.microsoft.ico", u"public.image", u"image/vnd.microsoft.icon", u"ico"},
    {u"org.webmproject.webp", u"public.image", u"image/webp", u"webp"},
    {u"public.heif-standard", u"public.image", u"image/heif", u"heif hif"},
    {u"public.heic", u"public.heif-standard", u"", u"heic"},
    {u"public.avif", u"public.image", u"image/avif", u"avif avifs"},
    {u"public.jpeg-2000", u"public.image", u"image/jp2", u"jp2 jpg2"},
    {u"public.jpeg-xl", u"public.image", u"image/jxl", u"jxl"},
    {u"public.camera-raw-image", u"public.image", u"image/x-dcraw", u"cr2 cr3 nef arw dng orf rw2 raf"},
    {u"com.adobe.photoshop-image", u"public.image", u"image/vnd.adobe.photoshop", u"psd"},
    {u"org.gimp.xcf", u"public.image", u"image/x-xcf", u"xcf"},
    {u"public.svg-image", u"public.image public.xml", u"image/svg+xml image/svg+xml-compressed", u"svg svgz svg.gz"},

    // Sound and moving pictures.
    {u"public.audiovisual-content", u"public.data public.content", u"", u""},
    {u"public.movie", u"public.audiovisual-content", u"", u""},
    {u"public.video", u"public.movie", u"", u""},
    {u"public.mpeg-4", u"public.movie", u"video/mp4", u"mp4 m4v"},
    {u"com.apple.quicktime-movie", u"public.movie", u"video/quicktime", u"mov qt"},
    {u"public.mpeg", u"public.movie", u"video/mpeg", u"mpg mpeg"},
    {u"public.avi", u"public.movie", u"video/x-msvideo", u"avi"},
    {u"org.webmproject.webm", u"public.movie", u"video/webm", u"webm"},
    {u"org.matroska.mkv", u"public.movie", u"video/x-matroska application/x-matroska video/x-matroska-3d", u"mkv mk3d"},
    {u"com.microsoft.windows-media-wmv", u"public.movie", u"video/x-ms-wmv", u"wmv"},
    {u"public.audio", u"public.audiovisual-content", u"", u""},
    {u"public.mp3", u"public.audio", u"audio/mpeg", u"mp3"},
    {u"public.mpeg-4-audio", u"public.audio", u"audio/mp4 audio/x-m4b", u"m4a m4b"},
    {u"public.aac-audio", u"public.audio", u"audio/aac", u"aac"},
    {u"org.xiph.flac", u"public.audio", u"audio/flac", u"flac"},
    {u"org.xiph.ogg-audio", u"public.audio", u"audio/ogg audio/x-vorbis+ogg", u"ogg oga"},
    {u"org.xiph.opus", u"public.audio", u"audio/x-opus+ogg", u"opus"},
    {u"com.microsoft.waveform-audio", u"public.audio", u"audio/x-wav", u"wav"},
    {u"public.aiff-audio", u"public.audio", u"audio/x-aiff", u"aif aiff"},
    {u"public.midi-audio", u"public.audio", u"audio/midi", u"mid midi"},
    {u"org.matroska.mka", u"public.audio", u"audio/x-matroska", u"mka"},

    // Archives and disk images.
    {u"public.archive", u"public.data", u"", u""},
    {u"public.disk-image", u"public.archive", u"application/x-raw-disk-image application/x-apple-diskimage", u"img dmg"},
    {u"public.iso-image", u"public.disk-image", u"application/x-cd-image", u"iso"},
    {u"com.pkware.zip-archive", u"public.archive", u"application/zip", u"zip"},
    {u"com.sun.java-archive", u"com.pkware.zip-archive", u"application/x-java-archive", u"jar"},
    {u"org.gnu.gnu-zip-archive", u"public.archive", u"application/gzip", u"gz"},
    {u"public.tar-archive", u"public.archive", u"application/x-tar application/x-lzma-compressed-tar application/x-tzo application/x-lrzip-compressed-tar application/x-lz4-compressed-tar application/x-lzip-compressed-tar application/x-tarz", u"tar tar.lzma tar.lzo tar.lrz tar.lz4 tar.lz tar.z"},
    {u"org.gnu.gnu-zip-tar-archive", u"public.archive", u"application/x-compressed-tar", u"tar.gz tgz"},
    {u"public.bzip2-archive", u"public.archive", u"application/x-bzip application/x-bzip-compressed-tar", u"bz2 bz tar.bz2 tar.bz tbz tbz2"},
    {u"org.tukaani.xz-archive", u"public.archive", u"application/x-xz application/x-xz-compressed-tar", u"xz tar.xz txz"},
    {u"org.7-zip.7-zip-archive", u"public.archive", u"application/x-7z-compressed", u"7z 7z.001"},
    {u"com.rarlab.rar-archive", u"public.archive", u"application/vnd.rar", u"rar"},
    {u"public.zstandard-archive", u"public.archive", u"application/zstd application/x-zstd-compressed-tar", u"zst tar.zst tzst"},
    {u"org.debian.deb-archive", u"public.archive", u"application/vnd.debian.binary-package", u"deb"},
    {u"com.redhat.rpm-archive", u"public.archive", u"application/x-rpm application/x-source-rpm", u"rpm src.rpm"},
    {u"org.flatpak.bundle", u"public.archive", u"application/vnd.flatpak", u"flatpak"},

    // Documents.
    {u"com.adobe.pdf", u"public.data public.composite-content", u"application/pdf", u"pdf"},
    {u"com.adobe.postscript", u"public.data public.composite-content", u"application/postscript image/x-eps", u"ps eps"},
    {u"public.spreadsheet", u"public.composite-content", u"", u""},
    {u"public.presentation", u"public.composite-content", u"", u""},
    {u"public.wordprocessing-document", u"public.composite-content", u"", u""},
    {u"com.microsoft.word.doc", u"public.data public.wordprocessing-document", u"application/msword application/msword-template", u"doc dot"},
    {u"org.openxmlformats.wordprocessingml.document", u"public.data public.wordprocessing-document",
     u"application/vnd.openxmlformats-officedocument.wordprocessingml.document application/vnd.openxmlformats-officedocument.wordprocessingml.template application/vnd.ms-word.document.macroenabled.12 application/vnd.ms-word.template.macroenabled.12",
     u"docx docm dotx dotm"},
    {u"com.microsoft.excel.xls", u"public.data public.spreadsheet", u"application/vnd.ms-excel", u"xls xlt"},
    {u"org.openxmlformats.spreadsheetml.sheet", u"public.data public.spreadsheet",
     u"application/vnd.openxmlformats-officedocument.spreadsheetml.sheet application/vnd.openxmlformats-officedocument.spreadsheetml.template application/vnd.ms-excel.sheet.macroenabled.12 application/vnd.ms-excel.template.macroenabled.12 application/vnd.ms-excel.sheet.binary.macroenabled.12",
     u"xlsx xlsm xltx xltm xlsb"},
    {u"com.microsoft.powerpoint.ppt", u"public.data public.presentation", u"application/vnd.ms-powerpoint", u"ppt pps"},
    {u"org.openxmlformats.presentationml.presentation", u"public.data public.presentation",
     u"application/vnd.openxmlformats-officedocument.presentationml.presentation application/vnd.openxmlformats-officedocument.presentationml.template application/vnd.openxmlformats-officedocument.presentationml.slideshow application/vnd.ms-powerpoint.presentation.macroenabled.12 application/vnd.ms-powerpoint.slideshow.macroenabled.12",
     u"pptx pptm potx ppsx ppsm"},
    {u"org.oasis-open.opendocument.text", u"public.data public.wordprocessing-document", u"application/vnd.oasis.opendocument.text application/vnd.oasis.opendocument.text-template application/vnd.oasis.opendocument.text-flat-xml", u"odt ott fodt"},
    {u"org.oasis-open.opendocument.spreadsheet", u"public.data public.spreadsheet", u"application/vnd.oasis.opendocument.spreadsheet application/vnd.oasis.opendocument.spreadsheet-template application/vnd.oasis.opendocument.spreadsheet-flat-xml", u"ods ots fods"},
    {u"org.oasis-open.opendocument.presentation", u"public.data public.presentation", u"application/vnd.oasis.opendocument.presentation application/vnd.oasis.opendocument.presentation-template application/vnd.oasis.opendocument.presentation-flat-xml", u"odp otp fodp"},
    {u"org.oasis-open.opendocument.graphics", u"public.data public.composite-content", u"application/vnd.oasis.opendocument.graphics application/vnd.oasis.opendocument.graphics-template application/vnd.oasis.opendocument.graphics-flat-xml", u"odg otg fodg"},
    {u"org.oasis-open.opendocument.formula", u"public.data public.composite-content", u"application/vnd.oasis.opendocument.formula", u"odf"},
    {u"com.apple.iwork.pages.sffpages", u"public.data public.wordprocessing-document", u"application/vnd.apple.pages", u"pages"},
    {u"com.apple.iwork.numbers.sffnumbers", u"public.data public.spreadsheet", u"application/vnd.apple.numbers", u"numbers"},
    {u"com.apple.iwork.keynote.sffkey", u"public.data public.presentation", u"application/vnd.apple.keynote", u"key"},
    {u"org.idpf.epub-container", u"public.data public.composite-content", u"application/epub+zip", u"epub"},
    {u"com.amazon.mobi8-ebook", u"public.data public.composite-content", u"application/vnd.amazon.mobi8-ebook application/x-mobipocket-ebook", u"azw3 mobi"},

    // Fonts, bodies, tables.
    {u"public.font", u"public.data", u"", u""},
    {u"public.truetype-ttf-font", u"public.font", u"font/ttf", u"ttf"},
    {u"public.opentype-font", u"public.font", u"font/otf", u"otf"},
    {u"public.truetype-collection-font", u"public.font", u"font/collection", u"ttc"},
    {u"org.w3.woff", u"public.font", u"font/woff", u"woff"},
    {u"org.w3.woff2", u"public.font", u"font/woff2", u"woff2"},
    {u"public.3d-content", u"public.content", u"", u""},
    {u"public.standard-tesselated-geometry-format", u"public.3d-content public.data", u"model/stl", u"stl"},
    {u"public.geometry-definition-format", u"public.3d-content public.data", u"model/obj", u"obj"},
    {u"org.khronos.gltf", u"public.3d-content public.data", u"model/gltf+json", u"gltf"},
    {u"org.khronos.glb", u"public.3d-content public.data", u"model/gltf-binary", u"glb"},
    {u"public.polygon-file-format", u"public.3d-content public.data", u"", u"ply"},
    {u"com.pixar.universal-scene-description", u"public.3d-content public.data", u"", u"usd usda usdc usdz"},
    {u"public.database", u"public.data", u"", u"parquet"},
    {u"org.sqlite.sqlite3", u"public.database", u"application/vnd.sqlite3", u"sqlite3 sqlite"},
    {u"com.microsoft.access.mdb", u"public.database", u"application/vnd.ms-access", u"mdb accdb"},

    // Messages and the rest.
    {u"public.message", u"public.item", u"", u""},
    {u"public.email-message", u"public.data public.message", u"message/rfc822", u"eml"},
    {u"com.apple.mail.emlx", u"public.email-message", u"", u"emlx"},
    {u"org.openxml.msg", u"public.email-message", u"", u"msg"},
    {u"public.mbox", u"public.message public.data", u"application/mbox", u"mbox"},
    {u"public.property-list", u"public.data", u"", u"plist"},
    {u"public.certificate", u"public.data", u"application/x-x509-ca-cert application/pkix-cert", u"crt cer pem"},
    {u"org.bittorrent.torrent", u"public.data", u"application/x-bittorrent", u"torrent"},
};
// clang-format on

constexpr TypeName aliases[] = {
    {u"public.zip-archive", u"com.pkware.zip-archive"},
    {u"com.apple.ical.ics", u"public.calendar-event"},
    {u"com.microsoft.outlook.msg", u"org.openxml.msg"},
    {u"public.x509-certificate", u"public.certificate"},
};

constexpr TypeName files[] = {
    {u"readme", u"public.plain-text"},
    {u"license", u"public.plain-text"},
    {u"copying", u"public.plain-text"},
    {u"authors", u"public.plain-text"},
    {u"credits", u"public.plain-text"},
    {u"install", u"public.plain-text"},
    {u"changelog", u"public.plain-text"},
    {u"news", u"public.plain-text"},
    {u"notice", u"public.plain-text"},
    {u".env", u"public.plain-text"},
    {u".gitignore", u"public.plain-text"},
    {u".gitattributes", u"public.plain-text"},
    {u".editorconfig", u"public.plain-text"},
    {u".profile", u"public.shell-script"},
    {u".bashrc", u"public.shell-script"},
    {u".bash_profile", u"public.shell-script"},
    {u".zshrc", u"public.shell-script"},
    {u"makefile", u"public.make-source"},
    {u"gnumakefile", u"public.make-source"},
    {u"cmakelists.txt", u"public.cmake-source"},
    {u"dockerfile", u"public.source-code"},
    {u"meson.build", u"public.source-code"},
    {u"meson_options.txt", u"public.source-code"},
    {u"sconstruct", u"public.python-script"},
    {u"sconscript", u"public.python-script"},
    {u"rakefile", u"public.ruby-script"},
    {u"gemfile", u"public.ruby-script"},
};

constexpr TypeName beginnings[] = {
    {u"readme", u"public.plain-text"},
    {u"license.", u"public.plain-text"},
    {u"makefile.", u"public.make-source"},
    {u"dockerfile.", u"public.source-code"},
    {u"sconscript.", u"public.python-script"},
};

constexpr std::u16string_view compounds[] = {
    u"eps.gz",
    u"eps.bz2",
    u"epsf.gz",
    u"epsf.bz2",
    u"epsi.gz",
    u"epsi.bz2",
    u"ps.gz",
    u"ps.bz2",
    u"pdf.gz",
    u"pdf.bz2",
    u"pdf.xz",
    u"pdf.lz",
    u"dvi.gz",
    u"dvi.bz2",
    u"xcf.gz",
    u"xcf.bz2",
    u"cpio.gz",
    u"abw.gz",
    u"fb2.zip",
    u"img.xz",
    u"raw-disk-image.xz",
    u"pcf.z",
    u"pcf.gz",
    u"psf.gz",
    u"qti.gz",
};

}  // namespace

std::span<const DeclaredType> declaredTypes()
{
    return types;
}

std::span<const TypeName> typeAliases()
{
    return aliases;
}

std::span<const TypeName> namedFiles()
{
    return files;
}

std::span<const TypeName> nameBeginnings()
{
    return beginnings;
}

std::span<const std::u16string_view> compoundSuffixes()
{
    return compounds;
}

}  // namespace vellumhound::base
