// SPDX-License-Identifier: Apache-2.0
// Copyright 2026 The MlagOstra authors

#include <host/check/SummarySchema>

#include <host/alarms/Alarm>

namespace ostra {

namespace {

constexpr char summaryKeys[] = R"({
"$schema": "https://json-schema.org/draft/2020-12/schema",
"title": "The summary of a run of ostra",
"description": "Times are seconds of scenario time.",
"type": "object",
"additionalProperties": false,
"required": [ "name", "startTime", "end", "isTimerLeft", "classes", "ports", "portChannels",
   "announcements", "missingConfig", "snoopingForced", "alarms" ],
"properties": {
   "name": { "type": "string", "description": "Of the scenario." },
   "startTime": { "type": "number", "description": "What the clock reads at time 0." },
   "end": { "type": "number", "description": "When the run ends." },
   "isTimerLeft": { "type": "boolean",
      "description": "Whether a timer would still wake up after that." },
   "classes": { "type": "object", "additionalProperties": false,
      "required": [ "mlag", "nonMlag" ],
      "properties": {
         "mlag": { "$ref": "#/$defs/Class" },
         "nonMlag": { "$ref": "#/$defs/Class" } } },
   "ports": { "type": "array", "items": { "$ref": "#/$defs/Port" },
      "description": "Those that are there at the end, or were errdisabled." },
   "portChannels": { "type": "array", "items": { "$ref": "#/$defs/PortChannel" },
      "description": "Those that were in LACP standby." },
   "announcements": { "type": "array", "items": { "$ref": "#/$defs/Announcement" },
      "description": "Messages for operators." },
   "missingConfig": { "type": "array", "items": { "type": "string" },
      "description": "Parts of the MLAG configuration without which nothing was held." },
   "snoopingForced": { "type": "array", "items": { "type": "string" },
      "description": "Port-channels on which IGMP snooping is forced at the end." },
   "alarms": { "type": "array", "items": { "$ref": "#/$defs/Alarm" },
      "description": "What a live switch would raise at the end." } },
"$defs": {
   "Seconds": { "type": [ "number", "null" ] },
   "ClassName": { "enum": [ "mlag", "nonMlag" ] },
   "Class": { "type": "object", "additionalProperties": false,
      "required": [ "delay", "periods", "held", "stillHeld" ],
      "properties": {
         "delay": { "description": "In seconds, as it is set at the end.",
            "anyOf": [ { "type": "number" }, { "const": "inf" } ] },
         "periods": { "type": "array", "items": { "$ref": "#/$defs/Period" },
            "description": "When the class waited." },
         "held": { "type": "integer", "minimum": 0,
            "description": "How many ports were errdisabled in this class." },
         "stillHeld": { "type": "integer", "minimum": 0,
            "description": "How many of them are at the end." } } },
   "Period": { "type": "object", "additionalProperties": false, "required": [ "start", "end" ],
      "properties": {
         "start": { "type": "number" },
         "end": { "$ref": "#/$defs/Seconds", "description": "Null: it is not over." } } },
   "Hold": { "type": "object", "additionalProperties": false,
      "required": [ "kind", "class", "since", "released", "reason" ],
      "properties": {
         "kind": { "enum": [ "errdisable", "lacpStandby" ] },
         "class": { "$ref": "#/$defs/ClassName", "description": "In which it was held." },
         "since": { "$ref": "#/$defs/Seconds", "description": "Null: before the run." },
         "released": { "$ref": "#/$defs/Seconds", "description": "Null: still held." },
         "reason": { "type": "string",
            "description": "For people: why it ended, or what it waits for." } } },
   "Port": { "type": "object", "additionalProperties": false,
      "required": [ "interface", "class", "portChannel", "isPresent", "state", "reason",
         "holds" ],
      "properties": {
         "interface": { "type": "string" },
         "class": { "enum": [ "mlag", "nonMlag", "peerLink", "management", "internal" ],
            "description": "At the end." },
         "portChannel": { "type": [ "string", "null" ], "description": "That it is in." },
         "isPresent": { "type": "boolean", "description": "Whether it is there." },
         "state": { "enum": [ "held", "standby", "notHeld" ],
            "description": "At the end; standby is that of its port-channel." },
         "reason": { "type": "string",
            "description": "For people: why it is held, or why not." },
         "holds": { "type": "array", "items": { "$ref": "#/$defs/Hold" } } } },
   "PortChannel": { "type": "object", "additionalProperties": false,
      "required": [ "interface", "class", "state", "holds" ],
      "properties": {
         "interface": { "type": "string" },
         "class": { "$ref": "#/$defs/ClassName" },
         "state": { "enum": [ "standby", "notHeld" ] },
         "holds": { "type": "array", "minItems": 1, "items": { "$ref": "#/$defs/Hold" } } } },
   "Announcement": { "type": "object", "additionalProperties": false,
      "required": [ "t", "id", "severity", "text" ],
      "properties": {
         "t": { "type": "number" },
         "id": { "type": "string" },
         "severity": { "type": "integer", "minimum": 0, "maximum": 7,
            "description": "As in syslog." },
         "text": { "type": "string" } } },
   "Alarm": { "type": "object", "additionalProperties": false,
      "required": [ "kind", "interface", "text", "ending" ],
      "properties": {
         "kind": { "enum": [] },
         "interface": { "type": "string" },
         "text": { "type": "string", "description": "For people: what is wrong." },
         "ending": { "type": "string",
            "description": "For people: what would end it." } } } }
})";

} // namespace

Json
summarySchema() {
   Json schema = Json::parse( summaryKeys );
   Json& kinds = schema[ "$defs" ][ "Alarm" ][ "properties" ][ "kind" ][ "enum" ];
   for ( AlarmKind const kind : alarmKinds ) {
      kinds.push_back( std::string( nameOf( kind ) ) );
   }
   return schema;
}

} // namespace ostra
