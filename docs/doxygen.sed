# A filter of the interface pages: says here, once, what would stand in the headers again and again
# and tell their reader nothing. Lines keep their numbers.

# Copies.
s|^    ([A-Z][A-Za-z]*)\(\1 const&\) = default;|    /** Copies. */ &|
s|^    ([A-Z][A-Za-z]*)& operator=\(\1 const&\) = default;|    /** Copies. */ &|

# Constructors of errors and of message ids, and the name under which a message id is thrown.
/^namespace (settings::core::exception|ZENBAR::settings::core) \{/,$ {
    /^    (explicit )?[A-Z][A-Za-z]*\([^)]*$|^    (explicit )?[A-Z][A-Za-z]*\(.*\)/ {
        / = default;/! s|^|/** Takes what its accessors, or its text, tell. */|
    }
    s|^using ([A-Za-z]+)Exception =.*|/** What is thrown for `\1`. */&|
}
