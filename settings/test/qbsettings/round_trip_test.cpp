// 500 keys of every type in 40 products: written, read by another process, changed, unset and read
// again, under several locales.

#include "ProgramWorld.hpp"

using qbtest::Outcome;
using qbtest::printed;

namespace {

constexpr int products = 40;
constexpr int keys = 500;

struct Sample {
    char const* type;
    std::vector<std::string> first;  ///< Texts as they are printed, too.
    std::vector<std::string> second;
};

/// The ends of each type's range, and numbers that lose bits in a text that is too short.
std::vector<Sample> const& samples() {
    static std::vector<Sample> const all = {
        {"string", {"1,5 \xE2\x82\xAC ]]>"}, {"a\\b", "", "c"}},
        {"bool", {"true"}, {"false"}},
        {"int8", {"-128", "127"}, {"0", "1"}},
        {"uint8", {"255"}, {"200"}},
        {"int16", {"-32768"}, {"32767"}},
        {"uint16", {"65535", "0"}, {"1234", "5"}},
        {"int32", {"-2147483648"}, {"1234567"}},
        {"uint32", {"4294967295"}, {"1000000"}},
        {"int64", {"-9223372036854775808"}, {"9223372036854775807"}},
        {"uint64", {"18446744073709551615"}, {"9007199254740993"}},
        {"float", {"3.4028235e+38", "1e-45", "0.1"}, {"16777217", "-0", "inf"}},
        {"double",
         {"1.7976931348623157e+308", "5e-324", "0.30000000000000004"},
         {"-2.5", "1234567.891", "nan"}},
    };
    return all;
}

/// Name of the key at `index`: its product, its group in one case of three, its own name.
std::string nameOf(int index) {
    std::string const product = "product" + std::to_string(index % products);
    std::string const own = "key" + std::to_string(index);
    return index % 3 == 0 ? product + ".group." + own : product + "." + own;
}

bool isArray(Sample const& sample) { return sample.first.size() > 1 || sample.second.size() > 1; }

/// The text of the value for `set-many`.
std::string written(Sample const& sample, std::vector<std::string> const& texts) {
    auto const quoted = [](std::string const& text) {
        std::string result = "\"";
        for (char const c : text)
            result += c == '\\' ? std::string("\\\\") : std::string(1, c);
        return result + "\"";
    };
    if (!isArray(sample)) return texts.front();
    std::string array;
    for (std::string const& text : texts)
        array += (array.empty() ? "" : ", ") + quoted(text);
    return "[" + array + "]";
}

/// As "list" shows it; the sixteen-million float is a tie that rounds to even.
std::string shown(std::vector<std::string> const& texts) {
    std::string row;
    for (std::string const& text : texts) {
        if (!row.empty()) row += ", ";
        for (char const c : text == "16777217" ? std::string("16777216") : text) {
            row += c == '\\' ? std::string("\\\\") : std::string(1, c);
        }
    }
    return row;
}

class RoundTripTest : public qbtest::ProgramWorld {
protected:
    RoundTripTest() {
        for (int product = 0; product < products; ++product) {
            std::string plain;
            std::string grouped;
            for (int index = product; index < keys; index += products) {
                Sample const& sample = sampleOf(index);
                std::string const sizes =
                    isArray(sample) ? " minArraySize=\"0\" maxArraySize=\"0\"" : "";
                std::string const value = sample.type == std::string("string") ? "x" : "1";
                (index % 3 == 0 ? grouped : plain) +=
                    key("key" + std::to_string(index), sample.type, "<value>" + value + "</value>",
                        sizes);
            }
            factoryFile("product" + std::to_string(product),
                        plain + "<settings name=\"group\">" + grouped + "</settings>\n");
        }
    }
    static Sample const& sampleOf(int index) {
        return samples()[static_cast<std::size_t>(index) % samples().size()];
    }

    void setAll(std::vector<std::string> Sample::*texts) {
        std::string lines;
        for (int index = 0; index < keys; ++index) {
            Sample const& sample = sampleOf(index);
            lines += nameOf(index) + " = " + written(sample, sample.*texts) + "\n";
        }
        EXPECT_EQ(runWith(lines, {"set-many"}), printed(""));
    }
    void expectAll(std::string const& level, std::vector<std::string> Sample::*texts) {
        Outcome const list = run({"list"});
        EXPECT_EQ(list.status, 0);
        for (int index = 0; index < keys; ++index) {
            Sample const& sample = sampleOf(index);
            std::string value = sample.type == std::string("string") ? "x" : "1";
            if (sample.type == std::string("bool")) value = "true";
            if (level == "user") value = shown(sample.*texts);
            std::string const row = nameOf(index) + "\t" + (isArray(sample) ? "array of " : "") +
                                    sample.type + "\t" + level + "\t" + value + "\n";
            EXPECT_NE(("\n" + list.out).find("\n" + row), std::string::npos) << row;
        }
    }
    void goRound() {
        setAll(&Sample::first);
        expectAll("user", &Sample::first);
        setAll(&Sample::second);
        expectAll("user", &Sample::second);
        for (int index = 0; index < keys; ++index) {
            EXPECT_EQ(run({"unset", nameOf(index)}), printed(""));
        }
        expectAll("factory", &Sample::first);
    }
};

TEST_F(RoundTripTest, UnderTheCLocale) {
    environment().set("LC_ALL", "C");
    goRound();
}

TEST_F(RoundTripTest, UnderALocaleWithADecimalComma) {
    std::string const locale = (folder() / "de_DE.UTF-8").string();
    std::string const make = "localedef -i de_DE -f UTF-8 '" + locale + "' >/dev/null 2>&1";
    if (std::system(make.c_str()) != 0 || !std::filesystem::exists(locale)) {
        GTEST_SKIP() << "no locale can be made here";
    }
    environment().set("LOCPATH", folder().string());
    environment().set("LC_ALL", "de_DE.UTF-8");
    goRound();
}

}  // namespace
