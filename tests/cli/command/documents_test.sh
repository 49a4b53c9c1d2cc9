# Manual pages and completions: all that the help tells, in a form that man and the shells take.
# The third argument is the folder that they were made in.
documents=$(realpath "$3")
. "$(dirname "$0")/../support/shell_support.sh"

commands=$("$qva" --help | sed -n '/^Subcommands:/,/^$/s/^  \([a-z]*\) .*/\1/p')
[ "$(echo "$commands" | wc -w)" -ge 7 ] || fail "commands: $commands"

# complete WORD...: what bash offers for the last word.
complete_words() {
    bash -c 'compopt() { :; }; . "$1"; shift; COMP_WORDS=("$@"); COMP_CWORD=$(($# - 1)); _qva
        printf "%s\n" "${COMPREPLY[@]}"' bash "$documents/qva" "$@"
}
offers() {
    local expected=$1
    shift
    complete_words "$@" | grep -qxF -- "$expected" || fail "bash does not offer $expected for: $*"
}

for command in $commands; do
    page=$documents/man1/qva-$command.1
    groff -man -ww -Tutf8 "$page" >page.txt 2>groff.txt
    [ ! -s groff.txt ] || fail "qva-$command.1: $(head -3 groff.txt)"
    grep -qF "qva-$command" "$documents/man1/qva.1" || grep -qF "qva\\-$command" "$documents/man1/qva.1" ||
        fail "qva.1 lacks $command"
    offers "$command" qva ""
    offers "$command" qva help "${command:0:2}"
    sed 's/.\x08//g; s/\x1b\[[0-9;]*m//g; s/‐/-/g; s/−/-/g' page.txt >plain.txt
    for option in $("$qva" help "$command" | grep -oE '^ +(-[a-zA-Z],)?--[a-z-]+' | grep -oE -- '--[a-z-]+'); do
        grep -qF -- "$option" plain.txt || fail "qva-$command.1 lacks $option"
        offers "$option" qva "$command" "$option"
        grep -qF -- "'$option" "$documents/_qva" || fail "zsh does not know $option"
        grep -qE "from $command'.* -l ${option#--}( |$)" "$documents/qva.fish" ||
            fail "fish does not know $command $option"
    done
done
groff -man -ww -Tutf8 "$documents/man1/qva.1" 2>&1 >page.txt | grep . && fail "qva.1 is no manual page"
sed 's/.\x08//g; s/\x1b\[[0-9;]*m//g' page.txt | grep -q "ended by signal n" || fail "qva.1 lacks exit codes"
offers hlg qva print --encoding h
offers saturation qva batch --intent ""
[ -z "$(complete_words qva print --threads "")" ] || fail "words are offered for a number"

bash -n "$documents/qva" || fail "the completion is no bash"
zsh -n "$documents/_qva" || fail "the completion is no zsh"
fish --no-execute "$documents/qva.fish" || fail "the completion is no fish"
fish -c "source $documents/qva.fish; complete -C 'qva print --enc'" | grep -q -- --encoding ||
    fail "fish does not complete"
finish
