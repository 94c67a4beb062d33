# Sources that stand one behind the other in a bundle must not have names in common. Writes a source
# with `mark` appended to every name that it keeps to itself: those of its unnamed namespace and its
# macros; but to none where a header is included amid them, which may lean on them. The layout is
# what clang-format makes of it: what a namespace declares begins a line.
#
#   awk -f scripts/own_names.awk -v mark=_7 SOURCE SOURCE       (it is read twice)

function name_of(line) {
    sub(/\/\/.*/, "", line)
    if (line ~ /^(static_assert|using namespace|namespace|public:|private:|protected:)/)
        return ""
    if (line ~ /^using / && line !~ /=/) # another's name
        return ""
    if (sub(/^(enum (class|struct)|enum|struct|class|union|using|#define) /, "", line))
        return match(line, /^[A-Za-z_0-9]+/) ? substr(line, 1, RLENGTH) : ""
    gsub(/__attribute__\(\(([^()]|\([^()]*\))*\)\)/, "", line)
    gsub(/alignas\([^()]*\)/, "", line)
    while (sub(/<[^<>]*>/, "", line))
        ;
    if (match(line, /\(\*[A-Za-z_0-9]+/)) # a pointer to procedures
        return substr(line, RSTART + 2, RLENGTH - 2)
    if (!match(line, /[A-Za-z_0-9]+ *[({\[=;]/) || substr(line, RSTART - 1, 1) ~ /[:~]/)
        return ""
    line = substr(line, RSTART, RLENGTH)
    sub(/ *.$/, "", line)
    return line
}

FNR == NR {
    if (/^namespace \{/)
        unnamed = 1
    else if (/^\} \/\/ namespace$/)
        unnamed = 0
    else if (/^namespace [a-z_0-9]+ \{/)
        whole[$2] = 1
    else if (/^#undef /)
        delete own[$2] # others have to do with it: a header that is included in its reach
    else if (unnamed && /^#include/)
        shared = 1
    else if (/^ / && match($0, /\(\*[A-Za-z_0-9]+\)\(/))
        member[substr($0, RSTART + 2, RLENGTH - 4)] = 1 # of one of its records
    else if (/^#define / || (unnamed && /^[A-Za-z_]/))
        own[name_of($0)] = 1
    next
}

/^#include/ || shared { print; next }

{
    line = ""
    rest = $0
    last = ""
    while (match(rest, /[A-Za-z_][A-Za-z_0-9]*/)) {
        before = substr(rest, 1, RSTART - 1)
        word = substr(rest, RSTART, RLENGTH)
        rest = substr(rest, RSTART + RLENGTH)
        marked = (word in own) && !(word in member)
        if (before ~ /(\.|->)$/) # of some record
            marked = 0
        else if (before ~ /::~?$/) # only of what is its own, or the namespace around it
            marked = marked && ((last in own) || (last in whole))
        line = line before word (marked ? mark : "")
        last = word
    }
    print line rest
}
