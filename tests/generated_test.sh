#!/usr/bin/env bash
# What the tool makes of its tables: the manual has no fault, the reference is the one in docs/, and
# the completion of each shell finds commands, options and steps, in that shell itself.
# generated_test.sh SOURCE RASTELO
set -euo pipefail
source=$(realpath "$1") rastelo=$(realpath -e "$2")
work=$(mktemp -d)
trap 'rm -rf "$work"' EXIT
cd "$work"
touch photo.jpg kernel.txt
failures=0

fail() {
  echo "FAILED: $*"
  failures=$((failures + 1))
}
for shell in bash zsh fish; do "$rastelo" generate $shell >$shell; done
mkdir functions && mv zsh functions/_rastelo
"$rastelo" generate man >rastelo.1
lint=$(mandoc -Tlint -Wall rastelo.1 2>&1) || true
[ -z "$lint" ] || fail "the manual: $lint"
for step in $("$rastelo" steps --json | sed 's/^{"name":"\([^"]*\)".*/\1/'); do
  grep -q "^\\\\fB${step//-/\\\\-}" rastelo.1 || fail "the manual lacks $step"
done

"$rastelo" generate reference | diff - "$source/docs/steps.md" || fail "docs/steps.md is not of this table"

# What each shell offers for a line, a word each.
in_bash() {
  # shellcheck disable=SC2016
  bash --norc -c 'source ./bash; COMP_LINE=$1; COMP_POINT=${#1}; read -ra COMP_WORDS <<<"${1//=/ = }"
    [[ $1 != *" " ]] || COMP_WORDS+=(""); COMP_CWORD=$((${#COMP_WORDS[@]} - 1))
    compopt() { :; }; _rastelo; printf "%s\n" "${COMPREPLY[@]}"' bash "$1"
}
in_fish() { fish --no-config -c "source ./fish; complete -C '$1'" | cut -f1; }
in_zsh() {
  zsh -f -c 'zmodload zsh/zpty; zpty shell zsh -f -i; zpty -w shell "PS1=; fpath=($PWD/functions \$fpath); autoload -Uz compinit; compinit -u -D; LISTMAX=1000; unsetopt list_ambiguous; zstyle \":completion:*\" list-colors \"\"; setopt no_always_last_prompt; stty columns 400; echo re""ady"
    while zpty -r shell line; do [[ $line == ready* ]] && break; done
    zpty -w -n shell "$1"$'"'\t\t'"'; sleep 1; zpty -w -n shell $'"'\x15'"'"echo fin""ished"$'"'\n'"'
    while zpty -r shell line; do print -r -- $line; [[ $line == *finished* ]] && break; done' zsh "$1" |
    tr -d '\r\a' | sed 's/\x1b\[[0-9;?]*[a-zA-Z]//g' | tr -s ' ' '\n'
}
offers() { # LINE WORD... : each of the words, in all three shells
  local line=$1 shell word
  shift
  for shell in bash fish zsh; do
    in_$shell "$line" >offered 2>&1 || true
    for word; do
      # bash gives what stands behind the "=" alone
      grep -qxF -- "$word" offered || { [ $shell = bash ] && grep -qxF -- "${word#*=}" offered; } ||
        { [ $shell = zsh ] && grep -qF -- "$word" offered; } ||
        fail "$shell offers for '$line': $(xargs <offered), not $word"
    done
  done
}
offers "rastelo " run batch sheet info steps help
offers "rastelo ba" batch
offers "rastelo batch --re" --recursive --resume
offers "rastelo run photo.jpg rot" rotate=ccw rotate=cw rotate=180
offers "rastelo run photo.jpg gray rotate=c" rotate=ccw rotate=cw
offers "rastelo run photo.jpg gray shar" sharpen
offers "rastelo help equa" equalize
offers "rastelo run pho" photo.jpg

[ $failures -eq 0 ] && echo "all as expected"
