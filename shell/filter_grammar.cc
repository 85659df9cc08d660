// The filters: what may come after a bar.
#include "shell/grammar.h"

namespace shell {
namespace {

constexpr char kRegexHelp[] = "a regular expression up to the next bar, or quoted";

constexpr Node kIncludeRegex[] = {
    {.word = "REGEX", .help = kRegexHelp, .slot = Slot::kRegex, .filter = FilterKind::kInclude}};
constexpr Node kExcludeRegex[] = {
    {.word = "REGEX", .help = kRegexHelp, .slot = Slot::kRegex, .filter = FilterKind::kExclude}};
constexpr Node kBeginRegex[] = {
    {.word = "REGEX", .help = kRegexHelp, .slot = Slot::kRegex, .filter = FilterKind::kBegin}};
constexpr Node kSectionRegex[] = {
    {.word = "REGEX", .help = kRegexHelp, .slot = Slot::kRegex, .filter = FilterKind::kSection}};
constexpr Node kNumberOfLines[] = {
    {.word = "N", .help = "a number of lines", .slot = Slot::kNumber, .filter = FilterKind::kHead}};
constexpr Node kJsonVersion[] = {
    {.word = "1", .help = "the version of the object; this is the only one", .filter = FilterKind::kJson}};
constexpr Node kFileName[] = {{.word = "FILE",
                               .help = "the file to replace; a name with blanks in quotation marks",
                               .slot = Slot::kFile,
                               .filter = FilterKind::kSave}};
constexpr Node kPageName[] = {{.word = "FILE",
                               .help = "the file to replace; a name with blanks in quotation marks",
                               .slot = Slot::kFile,
                               .filter = FilterKind::kHtml}};

constexpr Node kFilters[] = {
    {.word = "include", .help = "the lines in which REGEX matches", .next = kIncludeRegex},
    {.word = "exclude", .help = "the lines in which REGEX does not match", .next = kExcludeRegex},
    {.word = "begin", .help = "from the first line in which REGEX matches", .next = kBeginRegex},
    {.word = "section", .help = "the whole blocks in which REGEX matches", .next = kSectionRegex},
    {.word = "count", .help = "the number of lines", .filter = FilterKind::kCount},
    {.word = "head", .help = "the first N lines", .next = kNumberOfLines},
    {.word = "json",
     .help = "a JSON object: complete or not, what is missing, the blocks",
     .filter = FilterKind::kJson,
     .next = kJsonVersion},
    {.word = "html", .help = "after \"explain\": write a page for a browser to FILE", .next = kPageName},
    {.word = "no-more", .help = "without a pager", .filter = FilterKind::kNoMore},
    {.word = "save", .help = "write to FILE as with --output; the last filter", .next = kFileName},
};

} // namespace

std::span<const Node> filters() {
    return kFilters;
}

} // namespace shell
