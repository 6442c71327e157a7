#include <qbsettings/generate/Identifiers.hpp>

namespace qbsettings {

namespace {

// Not <cctype>, whose answers depend on the locale.
bool isDigit(char c) { return '0' <= c && c <= '9'; }
bool isLetter(char c) { return ('a' <= c && c <= 'z') || ('A' <= c && c <= 'Z'); }

/// Words of the language up to C++20, macros that come with common headers and compilers, what the
/// header itself uses, and namespaces that it must not add to.
bool isTaken(std::string const& name) {
    static std::set<std::string> const words{"alignas",
                                             "alignof",
                                             "and",
                                             "and_eq",
                                             "asm",
                                             "auto",
                                             "bitand",
                                             "bitor",
                                             "bool",
                                             "break",
                                             "case",
                                             "catch",
                                             "char",
                                             "char16_t",
                                             "char32_t",
                                             "char8_t",
                                             "class",
                                             "co_await",
                                             "co_return",
                                             "co_yield",
                                             "compl",
                                             "concept",
                                             "const",
                                             "const_cast",
                                             "consteval",
                                             "constexpr",
                                             "constinit",
                                             "continue",
                                             "decltype",
                                             "default",
                                             "delete",
                                             "do",
                                             "double",
                                             "dynamic_cast",
                                             "else",
                                             "enum",
                                             "explicit",
                                             "export",
                                             "extern",
                                             "false",
                                             "float",
                                             "for",
                                             "friend",
                                             "goto",
                                             "if",
                                             "inline",
                                             "int",
                                             "long",
                                             "mutable",
                                             "namespace",
                                             "new",
                                             "noexcept",
                                             "not",
                                             "not_eq",
                                             "nullptr",
                                             "operator",
                                             "or",
                                             "or_eq",
                                             "private",
                                             "protected",
                                             "public",
                                             "register",
                                             "reinterpret_cast",
                                             "requires",
                                             "return",
                                             "short",
                                             "signed",
                                             "sizeof",
                                             "static",
                                             "static_assert",
                                             "static_cast",
                                             "struct",
                                             "switch",
                                             "template",
                                             "this",
                                             "thread_local",
                                             "throw",
                                             "true",
                                             "try",
                                             "typedef",
                                             "typeid",
                                             "typename",
                                             "union",
                                             "unsigned",
                                             "using",
                                             "virtual",
                                             "void",
                                             "volatile",
                                             "wchar_t",
                                             "while",
                                             "xor",
                                             "xor_eq",
                                             "BUFSIZ",
                                             "EOF",
                                             "FALSE",
                                             "HUGE_VAL",
                                             "I",
                                             "INFINITY",
                                             "NAN",
                                             "NDEBUG",
                                             "NULL",
                                             "RAND_MAX",
                                             "TRUE",
                                             "assert",
                                             "complex",
                                             "emit",
                                             "errno",
                                             "foreach",
                                             "i386",
                                             "linux",
                                             "offsetof",
                                             "setjmp",
                                             "signals",
                                             "slots",
                                             "stderr",
                                             "stdin",
                                             "stdout",
                                             "unix",
                                             "ZENBAR",
                                             "boost",
                                             "main",
                                             "posix",
                                             "qf",
                                             "rescat",
                                             "settingChoices",
                                             "settings",
                                             "settingscore",
                                             "std",
                                             "zbutil"};
    return words.count(name) != 0;
}

}  // namespace

bool isIdentifier(std::string const& text) {
    if (text.empty() || !isLetter(text.front())) return false;
    for (char const c : text) {
        if (!isLetter(c) && !isDigit(c) && c != '_') return false;
    }
    return text.find("__") == std::string::npos && !isTaken(text);
}

std::string identifierOf(std::string const& text, std::string const& word) {
    std::string name;
    for (std::size_t i = 0; i < text.size(); ++i) {
        char const c = text[i];
        if (i == 0 && c == '-' && text.size() > 1 && isDigit(text[1])) {
            name = "minus";
        } else if (isLetter(c) || isDigit(c)) {
            name += c;
        } else if (!name.empty() && name.back() != '_') {
            name += '_';  // Two together are the compiler's own.
        }
    }
    if (name.size() > 1 && name.back() == '_' && text.back() != '_') name.pop_back();
    if (name.empty()) return word;
    if (isDigit(name.front())) name = word + name;
    return isTaken(name) ? name + "_" : name;
}

std::string capitalised(std::string text) {
    if (!text.empty() && 'a' <= text[0] && text[0] <= 'z')
        text[0] = static_cast<char>(text[0] - 32);
    return text;
}

std::string Scope::take(std::string const& wanted) {
    std::string name = wanted;
    for (unsigned number = 2; isTaken(name) || !taken_.insert(name).second; ++number)
        name = wanted + (wanted.back() == '_' ? "" : "_") + std::to_string(number);
    return name;
}

}  // namespace qbsettings
