#include <qbsettings/texts/TextsReader.hpp>

#include <algorithm>
#include <cstddef>
#include <iterator>

#include <nlohmann/json.hpp>

namespace qbsettings::texts {

namespace {

using Json = nlohmann::json;

constexpr std::size_t mostLevels = 16;
constexpr std::size_t longestLine = 1024;
constexpr std::size_t longestDescription = 65536;

/// Bytes that tell how many of them were taken, which the parser does not.
class CountingBytes {
public:
    using iterator_category = std::input_iterator_tag;
    using value_type = char;
    using difference_type = std::ptrdiff_t;
    using pointer = char const*;
    using reference = char const&;

    CountingBytes(char const* at, char const** furthest) : at_(at), furthest_(furthest) {}
    reference operator*() const { return *at_; }
    CountingBytes& operator++() {
        ++at_;
        if (furthest_ != nullptr) *furthest_ = at_;
        return *this;
    }
    bool operator==(CountingBytes const& other) const { return at_ == other.at_; }
    bool operator!=(CountingBytes const& other) const { return at_ != other.at_; }

private:
    char const* at_;
    char const** furthest_;
};

struct Member {
    char const* name;
    std::string Texts::*text;
    std::size_t longest;
};

constexpr Member members[] = {{"summary", &Texts::summary, longestLine},
                              {"description", &Texts::description, longestDescription},
                              {"unit", &Texts::unit, longestLine},
                              {"since", &Texts::since, longestLine},
                              {"deprecated", &Texts::deprecated, longestLine}};

Member const* memberNamed(std::string const& name) {
    auto const* const found =
        std::find_if(std::begin(members), std::end(members),
                     [&](Member const& member) { return member.name == name; });
    return found == std::end(members) ? nullptr : found;
}

/// The form is three objects deep: names, their members, and the labels of choices.
class Reader : public nlohmann::json_sax<Json> {
public:
    Reader(std::string const& bytes, TextsFile& file)
        : bytes_(bytes), file_(file), furthest_(bytes.data()) {}

    CountingBytes begin() { return {bytes_.data(), &furthest_}; }
    CountingBytes end() const { return {bytes_.data() + bytes_.size(), nullptr}; }

    bool null() override { return other(); }
    bool boolean(bool) override { return other(); }
    bool number_integer(number_integer_t) override { return other(); }
    bool number_unsigned(number_unsigned_t) override { return other(); }
    bool number_float(number_float_t, string_t const&) override { return other(); }
    bool binary(binary_t&) override { return other(); }
    bool start_array(std::size_t) override {
        if (!isPassing() && !mayPass()) return refuseValue();
        return enterUnknown();
    }
    bool end_array() override { return leave(); }

    bool start_object(std::size_t) override {
        if (isPassing()) return enterUnknown();
        switch (level_) {
            case 0:
                break;
            case 1:
                if (isSchema_) return refuseValue();
                break;
            case 2:
                if (word_ == "labels") break;
                if (memberNamed(word_) != nullptr) return refuseValue();
                return enterUnknown();
            default:
                return refuseValue();
        }
        ++level_;
        return true;
    }
    bool end_object() override { return leave(); }

    bool key(string_t& key) override {
        if (isPassing()) return true;
        wordPlace_ = placeOf(beginOfText());
        if (key.size() > longestLine || hasControls(key, false))
            return refuse("a name is too long or has control characters", wordPlace_);
        word_ = key;
        if (level_ == 1) return beginEntry();
        if (level_ == 2 && word_ != "labels" && memberNamed(word_) == nullptr)
            file_.unknownWords.push_back({name_, word_, wordPlace_});
        return true;
    }

    bool string(string_t& text) override {
        if (isPassing() || (level_ == 1 && isSchema_)) return true;
        if (level_ < 2) return refuseValue();
        Member const* const member = level_ == 2 ? memberNamed(word_) : nullptr;
        if (level_ == 2 && member == nullptr) return word_ == "labels" ? refuseValue() : true;
        bool const isDescription = member != nullptr && member->text == &Texts::description;
        Place const place = placeOf(beginOfText());
        if (text.size() > (member == nullptr ? longestLine : member->longest))
            return refuse(quoted(word_) + " is too long", place);
        if (hasControls(text, isDescription))
            return refuse(quoted(word_) + " has control characters", place);
        Entry& entry = file_.entries[name_];
        if (member != nullptr) {
            entry.texts.*member->text = text;
        } else {
            entry.texts.labels[word_] = text;
            entry.labelPlaces[word_] = wordPlace_;
        }
        return true;
    }

    bool parse_error(std::size_t, std::string const&,
                     nlohmann::detail::exception const& error) override {
        std::string const text = error.what();
        std::size_t const at = text.find(": ", text.find("column"));
        std::string reason = at == std::string::npos ? "syntax error" : text.substr(at + 2);
        // The parser shows what it read last, bytes that are no text among it.
        reason = reason.substr(0, reason.find("; last read"));
        return refuse("is no JSON: " + reason, placeOf(last()));
    }

private:
    static std::string quoted(std::string const& word) { return "'" + word + "'"; }

    bool isPassing() const { return unknown_ > 0; }
    /// What an unknown member holds is of no concern.
    bool mayPass() const {
        return level_ == 2 && word_ != "labels" && memberNamed(word_) == nullptr;
    }
    bool other() { return isPassing() || mayPass() ? true : refuseValue(); }
    bool enterUnknown() {
        if (++unknown_ + level_ > mostLevels) return refuse("is nested too deep", placeOf(last()));
        return true;
    }
    bool leave() {
        --(isPassing() ? unknown_ : level_);
        return true;
    }

    bool beginEntry() {
        isSchema_ = word_ == "$schema";
        if (isSchema_) return true;
        name_ = word_;
        Entry entry;
        entry.place = wordPlace_;
        if (!file_.entries.emplace(name_, entry).second)
            return refuse(quoted(name_) + " is there twice", wordPlace_);
        return true;
    }

    bool refuseValue() {
        Place const place = placeOf(last());
        if (level_ == 0) return refuse("is no object", place);
        if (level_ == 1 && !isSchema_)
            return refuse("of " + quoted(name_) + " an object is wanted", place);
        if (level_ == 2 && word_ == "labels") return refuse("'labels' wants an object", place);
        return refuse(quoted(word_) + " wants a text", place);
    }
    bool refuse(std::string const& problem, Place place) {
        file_.problem = problem;
        file_.place = place;
        return false;
    }

    /// Line ends and tabs only where a text may have lines. The C1 controls end a line, or more,
    /// for some terminals.
    static bool hasControls(std::string const& text, bool mayHaveLines) {
        for (std::size_t i = 0; i < text.size(); ++i) {
            auto const c = static_cast<unsigned char>(text[i]);
            if (mayHaveLines && (c == '\n' || c == '\t')) continue;
            if (c < 0x20 || c == 0x7F) return true;
            if (c == 0xC2 && i + 1 < text.size() && static_cast<unsigned char>(text[i + 1]) < 0xA0)
                return true;
        }
        return false;
    }

    /// The byte that was taken last.
    char const* last() const { return furthest_ == bytes_.data() ? furthest_ : furthest_ - 1; }
    /// Of the text whose closing quote was taken last: one within it has a backslash before it.
    char const* beginOfText() const {
        char const* at = last();
        do {
            --at;
        } while (at > bytes_.data() && (*at != '"' || isEscaped(at)));
        return std::max(bytes_.data(), at);
    }
    bool isEscaped(char const* at) const {
        char const* first = at;
        while (first > bytes_.data() && first[-1] == '\\')
            --first;
        return (at - first) % 2 != 0;
    }
    /// Calls come in the order of the bytes, so that each line end is counted once.
    Place placeOf(char const* at) {
        for (; counted_ < static_cast<std::size_t>(at - bytes_.data()); ++counted_) {
            if (bytes_[counted_] != '\n') continue;
            ++line_;
            lineBegin_ = counted_ + 1;
        }
        return {line_, static_cast<std::size_t>(at - bytes_.data()) - lineBegin_ + 1};
    }

    std::string const& bytes_;
    TextsFile& file_;
    char const* furthest_;
    std::size_t counted_ = 0;
    std::size_t line_ = 1;
    std::size_t lineBegin_ = 0;

    std::size_t level_ = 0;    ///< Objects of the form that are open.
    std::size_t unknown_ = 0;  ///< Those and arrays within an unknown member.
    std::string name_;
    std::string word_;
    Place wordPlace_;
    bool isSchema_ = false;  ///< In the one member beside the names, which editors want.
};

}  // namespace

void readTexts(std::string const& bytes, TextsFile& file) {
    Reader reader(bytes, file);
    if (!Json::sax_parse(reader.begin(), reader.end(), &reader)) {
        file.entries.clear();
        file.unknownWords.clear();
        if (file.problem.empty()) file.problem = "is no JSON";
    }
}

}  // namespace qbsettings::texts
