#!/usr/bin/env bash
# Installs a build into a prefix of its own, moves that elsewhere, and uses it as a customer does, with
# nothing in the environment that could point into the source or build tree.
# Usage: install_test.sh BUILD_DIR CMAKE CXX
set -euo pipefail

build=$1 cmake=$2 cxx=$3
here=$(cd "$(dirname "${BASH_SOURCE[0]}")" && pwd)
place=$(mktemp -d)
trap 'rm -rf "$place"' EXIT
cd "$place"
mkdir home

fail() {
    echo "install_test.sh: $*" >&2
    exit 1
}
# alone COMMAND...: with a home and nothing else; tools also know where others are.
alone() {
    env -i HOME="$place/home" "$@"
}
clean() {
    alone PATH="$PATH" "$@"
}
# expect WANTED GOT WHAT
expect() {
    [[ $2 == "$1" ]] || fail "$3: got '$2', not '$1'"
}

"$cmake" --install "$build" --prefix "$place/first" >/dev/null
mv first moved
prefix=$place/moved
examples=$prefix/share/qbsettings/examples
program=$prefix/bin/qbsettings

# The program, by itself and on the example products, whose functions are found too.
expect "$prefix/share/qbsettings" "$(alone "$program" dirs | sed -n 's/^host\t//p')" "the host's data"
alone "$program" --host-root "$examples" list >listed || fail "the examples have faults"
[[ -s $prefix/share/qbsettings/texts.schema.json ]] || fail "the schema of texts is not installed"
alone LANG=de_AT.UTF-8 "$program" --host-root "$examples" describe plotter | grep Stiftplotter >/dev/null ||
    fail "the examples have no texts in German"
grep -q $'^plotter\\.lineWidth\tdouble\tfactory\t0\\.35$' listed || fail "no line of plotter.lineWidth"

# With no product at all it says where there are some; what it names works.
hint=$(alone "$program" list 2>&1)
[[ $hint == *"qbsettings --host-root $examples list" ]] || fail "no examples are named: $hint"
for document in api file-format findings hosts qbsettings texts; do
    [[ -s $prefix/share/qbsettings/docs/$document.md ]] || fail "$document.md is not installed"
done
! grep -n 'settings/examples/\(host\|lib\|radio\)`' "$prefix"/share/qbsettings/docs/*.md ||
    fail "a document names a folder of the sources"
for package in libqbsettingscore1 libqbsettingscore-dev qbsettings; do
    for file in copyright changelog changelog.Debian; do
        [[ -s $prefix/share/doc/$package/$file ]] || fail "$package has no $file"
    done
done

# A look at a file as it is written.
cp -r "$examples/toolbox" odd
sed -i 's/visible="true"/visible="maybe"/' odd/plotter/plotter.settings
alone "$program" check "$place/odd/plotter/plotter.settings" >found || fail "check fails"
grep -q 'plotter.settings:[0-9]*:[0-9]*: .*visible="maybe" counts as false' found || fail "$(cat found)"

# One that is not plain, for which the parser's module has to be found beside the library.
cp -r "$examples/toolbox" other
echo '<?for somebody else?>' >>other/plotter/plotter.settings
expect 0.35 "$(alone "$program" --host-root "$examples" --factory-dir other get plotter.lineWidth)" \
    "a file that is not plain"

# Whatever the libraries export is declared in a header that is installed.
while read -r header; do
    [[ -e $prefix/include/$header ]] || fail "$header is not installed"
done < <(cd "$here/../../src" && grep -rlE '(SETTINGSCORE|QBHOST)_API ' --include='*.hpp' .)

# A customer, by find_package and by pkg-config. Building says nothing of where things are at run time.
clean "$cmake" -S "$here/customer" -B customer -DCMAKE_CXX_COMPILER="$cxx" \
    -DCMAKE_PREFIX_PATH="$prefix" -DEXAMPLES="$examples" >log 2>&1 || fail "$(cat log)"
clean "$cmake" --build customer --parallel 2 >log 2>&1 || fail "$(cat log)"
expect 0.5 "$(alone customer/customer "$examples/toolbox")" "the customer's program"
find home -name plotter.settings | grep -q . || fail "no user file"

# The samples and a generated header. Where there is no product they say so.
mkdir stranger
for sample in first_program listeners_and_batches plain_interface typed_keys generated; do
    alone HOME="$place/stranger" "customer/$sample" >log 2>&1 && fail "$sample finds a product where there is none"
    grep -q "there is no product plotter" log || fail "$sample says '$(cat log)'"
    alone SETTINGS_FACTORYDIR="$examples/toolbox" SETTINGS_USERDIR="$place/user" \
        EXPORT_FILE="$place/palettes.settings" "customer/$sample" >log 2>&1 || fail "$sample: $(cat log)"
    rm -rf user
done
expect "1 5" "$(cat log)" "the program of the generated header"
cp customer/generated_settings/plotter.settings.hpp kept
touch -d tomorrow "$examples/toolbox/plotter/plotter.settings"
clean "$cmake" --build customer --parallel 2 >log 2>&1 || fail "$(cat log)"
cmp -s kept customer/generated_settings/plotter.settings.hpp || fail "the same file makes another header"
if command -v pkg-config >/dev/null; then
    pc=$(find "$prefix" -name qbsettingscore.pc)
    read -ra flags < <(clean PKG_CONFIG_PATH="${pc%/*}" pkg-config --cflags --libs qbsettingscore)
    # Every header that is installed has all that it includes.
    (cd "$prefix/include" && find . -name '*.hpp' | sed 's/.*/#include <&>/') >all.cpp
    "$cxx" -std=c++17 "$here/customer/main.cpp" -include all.cpp -o by_pkg_config "${flags[@]}" \
        -Wl,-rpath,"${pc%/pkgconfig/*}"
    expect 0.5 "$(alone ./by_pkg_config "$examples/toolbox")" "the program by pkg-config"
fi

# What the program tells of itself stands in the manual, whole and without faults.
manual=$prefix/share/man/man1/qbsettings.1
if command -v mandoc >/dev/null; then
    mandoc -T lint -W warning "$manual" || fail "the manual has faults"
fi
mapfile -t commands < <(alone "$program" --help |
    sed -n '/^Subcommands:/,/^$/s/^  \([a-z-]*\) .*/\1/p')
for command in "${commands[@]}"; do
    grep -qE "^\.It Cm $command( |$)" "$manual" || fail "the manual has no command $command"
    entry=$(sed -n "/^\.It Cm $command\( \|$\)/,/^[^.]/p" "$manual")
    for option in $(alone "$program" "$command" --help | grep -oE '^  --[a-z-]+'); do
        [[ $entry == *"Fl Fl ${option#--}"* ]] || fail "the manual has no $option of $command"
    done
done

# complete WORD...: what bash offers for the last word.
complete_line() {
    # shellcheck disable=SC2016
    clean bash -c 'source "$1" && shift && COMP_WORDS=("$@") COMP_CWORD=$(($# - 1)) &&
        _qbsettings && echo "${COMPREPLY[*]-}"' bash \
        "$prefix/share/bash-completion/completions/qbsettings" "$program" "$@"
}
expect "--json" "$(complete_line list --j)" "completion of an option"
expect "plotter.lineWidth" \
    "$(complete_line --host-root = "$examples" get --level user plotter.li)" "completion of a name"
expect "${commands[*]}" "$(complete_line "")" "completion of nothing"
if command -v zsh >/dev/null; then
    zsh -n "$prefix/share/zsh/site-functions/_qbsettings"
fi
