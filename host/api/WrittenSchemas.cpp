// SPDX-License-Identifier: Apache-2.0
// Copyright 2026 The MlagOstra authors

#include <host/api/WrittenSchemas>

namespace ostra {

namespace {

// Of ports and of the whole switch.
constexpr char answers[] = R"({
"Error": { "type": "object", "required": [ "error" ], "properties": {
   "error": { "type": "object", "required": [ "where", "found", "expected" ], "properties": {
      "where": { "type": "string" },
      "found": { "type": "string" },
      "expected": { "type": "string" } } } } },
"Revision": { "type": "object", "required": [ "revision" ], "properties": {
   "revision": { "type": "integer", "minimum": 0,
      "description": "Ascends with each patch of a client." } } },
"Seconds": { "description": "Null: never.", "type": [ "number", "null" ] },
"Hold": { "type": "object",
   "required": [ "kind", "since", "until", "remaining", "enforced", "error" ], "properties": {
      "kind": { "enum": [ "errdisable", "lacpStandby" ] },
      "since": { "$ref": "#/components/schemas/Seconds" },
      "until": { "$ref": "#/components/schemas/Seconds" },
      "remaining": { "$ref": "#/components/schemas/Seconds" },
      "enforced": { "enum": [ "held", "pending", "unsupported", "failed", "released" ] },
      "error": { "type": [ "string", "null" ] } } },
"Protodown": { "type": "object", "required": [ "supported", "on", "others" ], "properties": {
      "supported": { "description": "Null: not known.", "type": [ "boolean", "null" ] },
      "on": { "type": "boolean" },
      "others": { "description": "The agents beside this host that want it.",
         "type": "array", "items": { "type": "string" } } } },
"Port": { "type": "object",
   "required": [ "interface", "device", "protodown", "heldBy", "class", "portChannel", "admin", "link",
      "hold", "reason" ],
   "properties": {
      "interface": { "type": "string" },
      "device": { "type": [ "string", "null" ] },
      "protodown": { "anyOf": [ { "$ref": "#/components/schemas/Protodown" },
         { "type": "null" } ] },
      "heldBy": { "enum": [ "protodown", "adminDown", null ],
         "description": "How the device is held, or would be. Null: not known, or it cannot be." },
      "class": { "enum": [ "mlag", "nonMlag", "peerLink", "management", "internal" ] },
      "portChannel": { "type": [ "string", "null" ] },
      "admin": { "type": [ "integer", "null" ],
         "description": "As adminEnabledStateLocal in the state." },
      "link": { "type": [ "integer", "null" ],
         "description": "As linkStatus in the state." },
      "hold": { "anyOf": [ { "$ref": "#/components/schemas/Hold" }, { "type": "null" } ] },
      "reason": { "type": "string" } } },
"Ports": { "type": "array", "items": { "$ref": "#/components/schemas/Port" } },
"Class": { "type": "object", "required": [ "state", "start", "end", "remaining" ],
   "properties": {
      "state": { "enum": [ "held", "released", "idle" ] },
      "start": { "$ref": "#/components/schemas/Seconds" },
      "end": { "$ref": "#/components/schemas/Seconds" },
      "remaining": { "$ref": "#/components/schemas/Seconds" } } },
"AlarmKind": { "enum": [ "heldWithoutEnd", "standbyWithoutEnd", "peerLinkHeld",
   "notHeld", "notEnforced", "snoopingWithoutPort" ] },
"Alarm": { "type": "object", "required": [ "kind", "interface", "since", "text", "ending" ],
   "properties": {
      "kind": { "$ref": "#/components/schemas/AlarmKind" },
      "interface": { "type": "string" },
      "since": { "type": "number", "description": "On the clock, in seconds." },
      "text": { "type": "string", "description": "For people: what is wrong." },
      "ending": { "type": "string", "description": "For people: what would end it." } } },
"Alarms": { "type": "array", "items": { "$ref": "#/components/schemas/Alarm" } },
"Summary": { "type": "object",
   "required": [ "mlag", "nonMlag", "nextAnnouncement", "counts", "alarms", "driver", "store", "boot",
      "ready", "revision", "lastRecord", "version" ],
   "properties": {
      "mlag": { "$ref": "#/components/schemas/Class" },
      "nonMlag": { "$ref": "#/components/schemas/Class" },
      "nextAnnouncement": { "$ref": "#/components/schemas/Seconds" },
      "counts": { "type": "object", "required": [ "ports", "errdisabled", "lacpStandby" ],
         "properties": {
            "ports": { "type": "integer", "minimum": 0 },
            "errdisabled": { "type": "integer", "minimum": 0 },
            "lacpStandby": { "type": "integer", "minimum": 0 } } },
      "alarms": { "type": "object", "description": "How many there are of each kind.",
         "required": [ "heldWithoutEnd", "standbyWithoutEnd", "peerLinkHeld", "notHeld",
            "notEnforced", "snoopingWithoutPort" ],
         "additionalProperties": { "type": "integer", "minimum": 0 } },
      "driver": { "type": "object", "required": [ "name" ],
         "properties": { "name": { "type": "string" } } },
      "store": { "type": "object", "required": [ "problem" ],
         "properties": { "problem": { "type": "string",
            "description": "Empty when the store takes what it is given." } } },
      "boot": { "type": "object", "required": [ "id", "time" ], "properties": {
         "id": { "type": "string" },
         "time": { "type": "number", "description": "On the clock, in seconds." } } },
      "ready": { "type": "boolean" },
      "revision": { "type": "integer", "minimum": 0 },
      "lastRecord": { "type": "integer", "minimum": 0,
         "description": "The greatest `seq` so far: what is told here has that record." },
      "version": { "type": "string" } } },
"Argument": { "type": "object", "required": [ "name", "type" ], "properties": {
   "name": { "type": "string" },
   "type": { "type": "string" } } },
"Attribute": { "type": "object", "required": [ "id", "name", "valueType", "flags" ],
   "properties": {
      "id": { "type": "integer" },
      "name": { "type": "string" },
      "valueType": { "type": "string" },
      "indexType": { "type": "string" },
      "arguments": { "type": "array",
         "items": { "$ref": "#/components/schemas/Argument" } },
      "flags": { "type": "array", "items": { "type": "string" } } } },
"Type": { "type": "object", "required": [ "name", "kind", "size", "attributes" ],
   "properties": {
      "name": { "type": "string" },
      "kind": { "enum": [ "opaque", "boolean", "number", "enumeration", "text", "structure",
         "object", "entity" ] },
      "size": { "type": "integer", "minimum": 0 },
      "base": { "type": "string" },
      "constructor": { "type": "array",
         "items": { "$ref": "#/components/schemas/Argument" } },
      "enumerators": { "type": "array", "items": { "type": "string" } },
      "attributes": { "type": "array",
         "items": { "$ref": "#/components/schemas/Attribute" } } } },
"Types": { "type": "array", "items": { "$ref": "#/components/schemas/Type" } },
"Description": { "type": "object",
   "required": [ "openapi", "info", "servers", "security", "paths", "components" ],
   "properties": {
      "openapi": { "const": "3.1.0" },
      "info": { "type": "object", "additionalProperties": true },
      "servers": { "type": "array" },
      "security": { "type": "array" },
      "paths": { "type": "object", "additionalProperties": true },
      "components": { "type": "object", "additionalProperties": true } } },
"Forecast": { "type": "object", "additionalProperties": false, "properties": {
   "patch": { "$ref": "#/components/schemas/State.Patch" },
   "until": { "type": "number", "minimum": 0,
      "description": "In seconds from now; without it, until nothing more would happen." } } }
})";

// What each record has behind its time. Those of `both` are in forecasts, too.
constexpr char both[] = R"({
"write": { "path": { "type": "array", "items": { "type": "string" } },
   "value": { "description": "Null: it is gone." } },
"event": { "index": { "type": "integer", "description": "In the history: the revision." } },
"log": { "id": { "type": "string" }, "severity": { "type": "integer" },
   "text": { "type": "string" } }
})";
constexpr char live[] = R"({
"release": { "interface": { "type": "string" } },
"gone": { "interface": { "type": "string" } },
"port": { "interface": { "type": "string" },
   "enforced": { "enum": [ "held", "released", "pending", "unsupported", "failed" ] } },
"alarm": { "state": { "enum": [ "raised", "cleared" ] },
   "kind": { "$ref": "#/components/schemas/AlarmKind" },
   "interface": { "type": "string" },
   "since": { "type": "number" },
   "text": { "type": "string" },
   "ending": { "type": "string" } },
"start": { "boot": { "type": "string" },
   "isRestart": { "type": "boolean", "description": "In the boot of the host before." } },
"configuration": {}
})";
constexpr char forecast[] = R"({
"end": { "state": { "$ref": "#/components/schemas/State" } }
})";

// What some of them may lack.
constexpr char optional[] = R"({
"port": { "error": { "type": "string" } },
"event": {
   "patch": { "type": "object", "description": "In the history: what a client changed." },
   "mounts": { "type": "array", "items": { "type": "string" },
      "description": "In the history, in place of a long patch: what it was in." } }
})";

constexpr char liveHead[] = R"({
"seq": { "type": "integer", "minimum": 1,
   "description": "Always ascends: by one, after a damaged or full store by much." },
"t": { "type": "number", "description": "On the clock, in seconds." },
"time": { "type": "string", "format": "date-time" }
})";
constexpr char forecastHead[] = R"({
"t": { "type": "number", "description": "In seconds from the present." }
})";

// One of the types of record.
Json
recordSchema( Json const& head, std::string const& type, Json const& members ) {
   Json properties = head;
   properties[ "type" ] = { { "const", type } };
   properties.update( members );
   Json required = Json::array();
   for ( auto const& [ name, schema ] : properties.items() ) {
      required.push_back( name );
   }
   properties.update( Json::parse( optional ).value( type, Json::object() ) );
   return { { "type", "object" },
            { "required", std::move( required ) },
            { "properties", std::move( properties ) } };
}

Json
recordsSchema( char const* headText, std::initializer_list< char const* > groups ) {
   Json const head = Json::parse( headText );
   Json kinds = Json::array();
   for ( char const* const group : groups ) {
      Json const records = Json::parse( group );
      for ( auto const& [ type, members ] : records.items() ) {
         kinds.push_back( recordSchema( head, type, members ) );
      }
   }
   return { { "oneOf", std::move( kinds ) } };
}

} // namespace

Json
writtenSchemas() {
   Json schemas = Json::parse( answers );
   schemas[ "Record" ] = recordsSchema( liveHead, { both, live } );
   schemas[ "ForecastRecord" ] = recordsSchema( forecastHead, { both, forecast } );
   return schemas;
}

} // namespace ostra
