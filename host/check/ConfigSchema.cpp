// SPDX-License-Identifier: Apache-2.0
// Copyright 2026 The MlagOstra authors

#include <host/check/ConfigSchema>

#include <host/check/StateDefinitions>

#include <utility>

namespace ostra {

namespace {

constexpr char configKeys[] = R"({
"$schema": "https://json-schema.org/draft/2020-12/schema",
"title": "The configuration of a live host of ostra",
"type": [ "object", "null" ],
"additionalProperties": false,
"properties": {
   "driver": { "enum": [ "none", "linux" ],
      "description": "linux holds the devices of the kernel." },
   "state": { "$ref": "#/$defs/path", "description": "The directory of what is kept." },
   "bootId": { "$ref": "#/$defs/path",
      "description": "A file whose content tells one boot from another." },
   "listen": { "type": "array", "minItems": 1,
      "items": { "oneOf": [ { "$ref": "#/$defs/unix" }, { "$ref": "#/$defs/tcp" } ] } },
   "tokenFile": { "$ref": "#/$defs/path",
      "description": "Who says what it contains may write through the network." },
   "mounts": { "description": "State that belongs to this file.",
      "$ref": "#/$defs/State.Patch" },
   "linux": { "type": "object", "additionalProperties": false, "properties": {
      "interfaces": { "type": "array", "items": { "$ref": "#/$defs/pattern" },
         "description": "The first that matches the whole name of a device counts." },
      "reasonBit": { "type": "integer", "minimum": 0, "maximum": 31,
         "description": "Of protodown_reason." },
      "fallback": { "enum": [ "none", "adminDown" ],
         "description": "For devices that cannot be held." } } },
   "history": { "type": "object", "additionalProperties": false, "properties": {
      "records": { "$ref": "#/$defs/limit" },
      "days": { "$ref": "#/$defs/limit" } } } },
"$defs": {
   "path": { "type": "string", "pattern": "^/" },
   "limit": { "type": "integer", "minimum": 0, "maximum": 1000000000 },
   "unix": { "type": "object", "additionalProperties": false, "required": [ "unix" ],
      "properties": {
         "unix": { "$ref": "#/$defs/path", "maxLength": 107 },
         "mode": { "type": "string", "pattern": "^0*[0-7]{1,3}$",
            "description": "In octal, in quotes." },
         "group": { "type": "string", "minLength": 1 } } },
   "tcp": { "type": "object", "additionalProperties": false, "required": [ "tcp" ],
      "properties": {
         "tcp": { "type": "string", "description": "As 127.0.0.1:8440 or [::1]:8440.",
            "pattern": "^(localhost|[0-9]+(\\.[0-9]+){3}|\\[[0-9A-Fa-f:.]+\\]):[0-9]+$" } } },
   "pattern": { "type": "object", "additionalProperties": false,
      "required": [ "device", "interface" ],
      "properties": {
         "device": { "type": "string", "minLength": 1, "format": "regex",
            "description": "A regular expression of the whole name." },
         "interface": { "type": "string",
            "pattern": "^(Peer)?(Ethernet|Internal|Management|Port-Channel|Recirc)[0-9/\\\\]+$",
            "description": "With \\1 to \\9 for what the groups have matched." },
         "portChannel": { "type": "string", "pattern": "^(Peer)?Port-Channel[0-9/\\\\]+$",
            "description": "That the port is in while it is in no bond." } } } }
})";

} // namespace

Json
configSchema() {
   Json schema = Json::parse( configKeys );
   schema[ "$defs" ].update( stateDefinitions( Spelling::plain ) );
   return schema;
}

} // namespace ostra
