# SPDX-License-Identifier: Apache-2.0
# Copyright 2026 The MlagOstra authors

# Completes ostra in fish: ostra completion fish | source

# Fish tells nothing of what stands behind the cursor.
function __ostra_complete
   set -l words (commandline --tokenize --cut-at-cursor --current-process)
   set -l current (commandline --current-token --cut-at-cursor)
   set -l program (string replace --regex '^~/' "$HOME/" -- $words[1])
   set -l number (count $words)
   set -e words[1]
   set -l answers (printf '%s\n' $number $words "$current" |
      command $program completion words 2>/dev/null)
   if test "$answers[1]" = files
      set -l option (string match --regex -- '^--[a-z-]+=' "$current")
      printf "$option%s\n" (__fish_complete_path (string replace -- "$option" '' "$current"))
   end
   set -e answers[1]
   printf '%s\n' $answers
end

complete --command ostra --no-files --keep-order --arguments '(__ostra_complete)'
