#compdef ostra
# SPDX-License-Identifier: Apache-2.0
# Copyright 2026 The MlagOstra authors

# Completes ostra in zsh: source <(ostra completion zsh) behind compinit, or this file as _ostra
# in a directory of fpath.

_ostra() {
   local -a given answers finished finishedHelp open openHelp lines
   local answer word help
   given=("${(@Q)words}")
   given[CURRENT]=${(Q)PREFIX}
   answers=("${(@f)$(print -rl -- $((CURRENT - 1)) "${(@)given[2,-1]}" |
      command "${given[1]/#\~\//$HOME/}" completion words 2>/dev/null)}")
   for answer in "${(@)answers[2,-1]}"; do
      word=${answer%%$'\t'*}
      help=${answer#"$word"}
      # With a line of its own.
      [[ -z $help ]] || lines=(-l)
      help=$word${help:+  -- ${help#$'\t'}}
      if [[ $word == *[.,=] ]]; then
         open+=("$word")
         openHelp+=("$help")
      else
         finished+=("$word")
         finishedHelp+=("$help")
      fi
   done
   local result=1
   (( $#finished )) && compadd -V ostra $lines -d finishedHelp -a finished && result=0
   (( $#open )) && compadd -V ostra -S '' -d openHelp -a open && result=0
   if [[ ${answers[1]} == files ]]; then
      compset -P '--[a-z-]##='
      _files && result=0
   fi
   return result
}

# A file of fpath is the body of the function that completes.
if [[ ${funcstack[1]} == _ostra ]]; then
   _ostra "$@"
else
   compdef _ostra ostra
fi
