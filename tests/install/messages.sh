#!/usr/bin/env bash
# SPDX-License-Identifier: Apache-2.0
# Copyright 2026 The MlagOstra authors

# What the compiler says to somebody who forgot something: messages.sh SOURCE COMPILER [FLAG...]

set -euo pipefail
source=$1
compiler=("$2" -std=c++20 -fsyntax-only "${@:3}" -I"$source" -I"$source/types" -x c++ -)

# fails_with SENTENCE: the program on standard input does not compile, and this is why.
fails_with() {
   local said
   if said=$("${compiler[@]}" 2>&1); then
      echo "compiles, and should say: $1" >&2
      exit 1
   fi
   # A compiler may quote the sentence in parts.
   grep -qF "$1" <<<"$said" || { printf 'expected: %s\n%s\n' "$1" "$said" >&2; exit 1; }
}

fails_with "T is no value type: specialise Ryx::ValueTraits< T >" <<'END'
#include <Ryx/Strep>
struct Weight {};
Ryx::String8 text() { return Ryx::valueToStrep( Weight() ); }
END

type='
#include <Ryx/State>
class Lamp : public Ryx::EntityOf< Lamp > {
 public:
   static constexpr std::string_view fwkTypeName = "Lamp";
   class NotifieeConst : public Ryx::NotifieeConstOf< Lamp, Ryx::Entity::NotifieeConst > {};
   static constexpr auto attributes() {
      return Ryx::AttributeList< Ryx::Value< "on", &Lamp::on_ CALLBACK > >();
   }
   void onIs( bool v ) { set< &Lamp::on_ >( v ); }
   bool on_ = false;
};
Ryx::Ptr< Lamp::NotifieeConst > notifiee() { return Ryx::make< Lamp::NotifieeConst >(); }'
fails_with "write Ryx::silent in its place" <<<"${type/CALLBACK/}"
"${compiler[@]}" <<<"${type/CALLBACK/, Ryx::silent}"
