// How inputs of the target `plain` change: half of the time by bytes, as ever; else by what files
// consist of, so that most of them stay well-formed and meet the rules further in.

#include <algorithm>
#include <cstddef>
#include <cstdint>
#include <random>
#include <string>
#include <string_view>
#include <vector>

extern "C" std::size_t LLVMFuzzerMutate(std::uint8_t* data, std::size_t size, std::size_t most);

namespace {

using Pieces = std::vector<std::string>;

constexpr std::string_view elements[] = {
    "settings", "key",    "validationfunc", "runtimedefault", "metadata", "value",
    "min",      "max",    "choices",        "additionalpath", "string",   "bool",
    "int8",     "uint8",  "int16",          "uint16",         "int32",    "uint32",
    "int64",    "uint64", "float",          "double"};

constexpr std::string_view attributes[] = {
    "name",  "visible", "version",     "readonly",     "anytype", "minArraySize", "maxArraySize",
    "undef", "type",    "packagename", "functionname", "xmlns",   "xsi:type",     "xml:space"};

constexpr std::string_view spellings[] = {"",
                                          " ",
                                          "\t",
                                          "\r\n",
                                          "\r",
                                          "\n",
                                          "true",
                                          "0",
                                          "1",
                                          "2",
                                          "-1",
                                          "300",
                                          "1.5",
                                          "1e999",
                                          "nan",
                                          "k",
                                          "C",
                                          "JAVA",
                                          "a b",
                                          "&lt;",
                                          "&gt;",
                                          "&amp;",
                                          "&quot;",
                                          "&apos;",
                                          "&#56;",
                                          "&#x38;",
                                          "&#10;",
                                          "&#13;",
                                          "&#9;",
                                          "&#x1F600;",
                                          "&#xD800;",
                                          "&e;",
                                          "&",
                                          "]]",
                                          "]]>",
                                          "]",
                                          ">",
                                          "\"",
                                          "'",
                                          "<!-- a -->",
                                          "<!---->",
                                          "<!-- - -->",
                                          "<!--",
                                          "-->",
                                          "--",
                                          "<![CDATA[]]>",
                                          "<![CDATA[ ",
                                          "<![CDATA[a]]]]><![CDATA[>]]>",
                                          "<?a b?>",
                                          "\xc2\x85",
                                          "\xe2\x80\xa8",
                                          "\xf0\x9f\x98\x80",
                                          "\xef\xbf\xbe",
                                          "\xed\xa0\x80",
                                          "\xc0\x80",
                                          "\x7f",
                                          "\x01",
                                          "\xef\xbb\xbf",
                                          "=",
                                          "/"};

class Mutation {
public:
    Mutation(std::string const& file, unsigned seed) : random_(seed) { split(file); }

    std::string result() {
        for (std::size_t changes = 1 + below(3); changes > 0; --changes)
            change();
        std::string file;
        for (std::string const& piece : pieces_)
            file += piece;
        return file;
    }

private:
    /// Into tags and what stands between them.
    void split(std::string const& file) {
        for (std::size_t at = 0; at < file.size();) {
            bool const isTag = file[at] == '<';
            std::size_t end = file.find(isTag ? '>' : '<', at);
            end = end == std::string::npos ? file.size() : end + (isTag ? 1 : 0);
            pieces_.push_back(file.substr(at, end - at));
            at = end;
        }
        if (pieces_.empty()) pieces_.emplace_back();
    }

    void change() {
        std::size_t const at = below(pieces_.size());
        std::string& piece = pieces_[at];
        switch (below(7)) {
            case 0:
                piece.insert(below(piece.size() + 1), one(spellings));
                break;
            case 1:
                insert(at, {"<" + std::string(one(elements)) + attribute() + "/>"});
                break;
            case 2:
                insert(at, element());
                break;
            case 3:
                if (piece.empty() || piece[0] != '<') piece = one(spellings);
                break;
            case 4:
                insert(below(pieces_.size()), whole(at));
                break;
            case 5: {
                auto const begin = pieces_.begin() + static_cast<std::ptrdiff_t>(at);
                pieces_.erase(begin, begin + static_cast<std::ptrdiff_t>(whole(at).size()));
                if (pieces_.empty()) pieces_.emplace_back();
                break;
            }
            default:
                change(piece);
        }
    }

    /// A tag gets an attribute, or another name that its end gets as well.
    void change(std::string& tag) {
        if (tag.size() < 3 || tag[0] != '<' || tag[1] == '/') return;
        std::size_t const nameEnd = std::min(tag.find_first_of(" \t\r\n/>", 1), tag.size());
        if (below(2) == 0) {
            tag.insert(nameEnd, attribute());
            return;
        }
        std::string const old = tag.substr(1, nameEnd - 1);
        std::string const other(one(elements));
        tag.replace(1, old.size(), other);
        for (std::string* next = &tag; next != pieces_.data() + pieces_.size(); ++next) {
            if (*next != "</" + old + ">") continue;
            *next = "</" + other + ">";
            return;
        }
    }

    /// The piece, with all to its end if it begins an element.
    Pieces whole(std::size_t at) const {
        Pieces all{pieces_[at]};
        auto const opens = [](std::string const& piece) {
            return piece.size() > 2 && piece[0] == '<' && piece[1] != '/' && piece[1] != '!' &&
                   piece[1] != '?' && piece[piece.size() - 2] != '/';
        };
        std::size_t depth = opens(pieces_[at]) ? 1 : 0;
        for (std::size_t i = at + 1; depth > 0 && i < pieces_.size(); ++i) {
            all.push_back(pieces_[i]);
            if (opens(pieces_[i])) ++depth;
            if (pieces_[i].compare(0, 2, "</") == 0) --depth;
        }
        return all;
    }

    Pieces element() {
        std::string const name(one(elements));
        return {"<" + name + attribute() + ">", std::string(one(spellings)), "</" + name + ">"};
    }
    std::string attribute() {
        if (below(2) == 0) return {};
        char const* const quote = below(2) == 0 ? "'" : "\"";
        return " " + std::string(one(attributes)) + "=" + quote + std::string(one(spellings)) +
               quote;
    }
    void insert(std::size_t at, Pieces const& more) {
        pieces_.insert(pieces_.begin() + static_cast<std::ptrdiff_t>(at), more.begin(), more.end());
    }
    std::size_t below(std::size_t bound) { return random_() % bound; }
    template <std::size_t count>
    std::string_view one(std::string_view const (&words)[count]) {
        return words[below(count)];
    }

    std::minstd_rand random_;
    Pieces pieces_;
};

}  // namespace

extern "C" std::size_t LLVMFuzzerCustomMutator(std::uint8_t* data, std::size_t size,
                                               std::size_t most, unsigned seed) {
    if (seed % 2 == 0) return LLVMFuzzerMutate(data, size, most);
    std::string const file(reinterpret_cast<char const*>(data), size);
    std::string const changed = Mutation(file, seed).result();
    std::size_t const count = std::min(changed.size(), most);
    std::copy_n(changed.begin(), count, data);
    return count;
}
