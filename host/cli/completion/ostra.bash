# SPDX-License-Identifier: Apache-2.0
# Copyright 2026 The MlagOstra authors

# Completes ostra in bash: source <(ostra completion bash)

_ostra() {
   # Bash divides words at '=' and ':', too: put them together again.
   local rest=${COMP_LINE:0:COMP_POINT} words=() word i
   for ((i = 0; i <= COMP_CWORD; ++i)); do
      word=${COMP_WORDS[i]}
      if [[ $i == 0 || $rest == [[:space:]]* ]]; then
         rest=${rest#"${rest%%[![:space:]]*}"}
         words+=("")
      fi
      [[ $i != "$COMP_CWORD" ]] || word=$rest
      words[-1]+=$word
      rest=${rest#"$word"}
   done
   local current=${words[-1]} number=$((${#words[@]} - 1))
   # What stands behind the word may name a scenario.
   words+=("${COMP_WORDS[@]:COMP_CWORD + 1}")
   # As the program would get them.
   words=("${words[@]//[\"\'\\]/}")

   local kind answers=() answer
   {
      read -r kind
      while IFS=$'\t' read -r answer _; do
         answers+=("$answer")
      done
   } < <(printf '%s\n' "$number" "${words[@]:1}" |
      command "${words[0]/#\~\//"$HOME/"}" completion words 2>/dev/null)
   [[ $kind != files ]] || compopt -o default 2>/dev/null
   compopt -o nosort 2>/dev/null

   # What bash puts in place begins behind the last of its dividers.
   local divider before=
   for divider in = :; do
      if [[ $COMP_WORDBREAKS == *"$divider"* && $current == *"$divider"* ]]; then
         answer=${current%"$divider"*}$divider
         ((${#answer} <= ${#before})) || before=$answer
      fi
   done
   COMPREPLY=("${answers[@]#"$before"}")
   if [[ ${#answers[@]} == 1 && ${answers[0]} == *[.,=] ]]; then
      compopt -o nospace 2>/dev/null
   fi
}

complete -F _ostra ostra
