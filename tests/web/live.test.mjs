// SPDX-License-Identifier: Apache-2.0
// Copyright 2026 The MlagOstra authors

// A live host as the page follows it, without a browser: a host that answers from memory.

import assert from 'node:assert/strict';
import { test } from 'node:test';

import { Live } from '../../host/web/live.js';
import { connectionOf, endlessOf, portOf } from '../../host/web/livestory.js';
import { stateOf } from '../../host/web/model.js';
import { Records } from '../../host/web/records.js';

const write = (seq, t, path, value) => ({ seq, t, type: 'write', path: path.split('/'), value });
const cause = (seq, t, name, value) => write(seq, t, `mlagissuCause/intfStatus/${name}`, value);
const standby = (seq, t, name, value) =>
   write(seq, t, `lacpConfig/portChannel/${name}/stayInStandby`, value);
const start = (seq, t, isRestart = false) => ({ seq, t, type: 'start', boot: 'a', isRestart });
const held = (from, to) => ({ from, to, kind: 'held', why: '' });
const idle = { state: 'idle', start: null, end: null };
const held300 = { state: 'held', start: 0, end: 300 };
const port = {
   interface: 'Ethernet1', class: 'mlag', portChannel: 'Port-Channel1', admin: null, link: 1,
   device: null, hold: null, reason: 'not held',
};
const hold = { kind: 'errdisable', since: 1, until: 300 };

/** What the page asks, answered from memory. `records`: all that there are. */
class FakeHost {
   constructor(t) {
      this.records = [];
      this.ports = [port];
      this.alarms = [];
      this.mlag = idle;
      this.boot = { id: 'a', time: 0 };
      this.asked = [];
      this.streams = [];
      this.elapsed = 0;
      /** By path: the text and the headers. */
      this.refusals = new Map();
      const host = this;
      const known = { fetch: globalThis.fetch, EventSource: globalThis.EventSource };
      globalThis.fetch = async path => host.answer(path);
      globalThis.EventSource = class {
         static CLOSED = 2;

         constructor(path) {
            this.path = path;
            this.isOpen = true;
            this.readyState = 1;
            host.streams.push(this);
         }

         close() {
            this.isOpen = false;
         }
      };
      t.mock.method(performance, 'now', () => host.elapsed);
      t.mock.timers.enable({ apis: ['setTimeout', 'setInterval'] });
      t.after(() => Object.assign(globalThis, known));
   }

   get last() {
      return this.records.length ? this.records[this.records.length - 1].seq : 0;
   }

   answer(path) {
      this.asked.push(path);
      const url = new URL(path, 'http://host');
      const refusal = this.refusals.get(url.pathname);
      if (refusal) {
         return { ok: false, status: 503, statusText: 'Service Unavailable',
            headers: new Headers(refusal.headers), text: async () => refusal.text };
      }
      const since = Number(url.searchParams.get('since'));
      const limit = Number(url.searchParams.get('limit'));
      const answers = {
         '/v1/summary': () => ({ mlag: this.mlag, nonMlag: idle, boot: this.boot,
            lastRecord: this.last }),
         '/v1/ports': () => this.ports,
         '/v1/alarms': () => this.alarms,
         '/v1/history': () => this.records.filter(({ seq }) => seq > since).slice(0, limit)
            .map(record => JSON.stringify(record) + '\n').join(''),
         '/v1/events': () => '',
      };
      const answer = structuredClone(answers[url.pathname]());
      return { ok: true, json: async () => answer, text: async () => answer };
   }

   /** Over the newest stream. */
   send(record) {
      this.records.push(record);
      this.streams[this.streams.length - 1].onmessage({ data: JSON.stringify(record) });
   }

   get openStreams() {
      return this.streams.filter(stream => stream.isOpen);
   }
}

/** Lets what waits for answers go on. */
const settled = async () => {
   for (let i = 0; i < 50; ++i) {
      await new Promise(resolve => setImmediate(resolve));
   }
};

async function follow(host) {
   const live = new Live(() => {});
   live.start();
   await settled();
   return live;
}

/** The next question and its answer. */
async function askAgain(t, host, seconds = 5) {
   host.elapsed += seconds * 1000;
   t.mock.timers.tick(seconds * 1000);
   await settled();
}

test('Live.EachRecordIsTakenOnce', () => {
   const records = new Records();
   assert.ok(records.add(cause(1, 10, 'Ethernet1', 10)));
   assert.ok(!records.add(cause(1, 10, 'Ethernet1', 10)));
   assert.equal(records.releasedAt('Ethernet1', null), null);
   assert.ok(records.add(cause(2, 20, 'Ethernet1', null)));
   assert.ok(!records.add(cause(1, 10, 'Ethernet1', 10)));
   assert.equal(records.all.length, 2);
   assert.equal(records.releasedAt('Ethernet1', null), 20);
   assert.deepEqual(records.spansOf('Ethernet1', null), [held(10, 20)]);
   assert.ok(records.add(start(3, 1)));
   assert.deepEqual(records.spansOf('Ethernet1', null), []);
   assert.equal(records.releasedAt('Ethernet1', null), null);
});

test('Live.ADayOfEventsIsLimited', () => {
   const records = new Records();
   records.add(start(1, 0));
   let seq = 1;
   for (let round = 0; round < 20000; ++round) {
      records.add(cause(++seq, round, 'Ethernet1', round));
      records.add(cause(++seq, round + 0.5, 'Ethernet1', null));
   }
   assert.ok(records.all.length <= 5500);
   assert.equal(records.last, seq);
   assert.ok(records.turns.get('Ethernet1').length <= 201);
   const spans = records.spansOf('Ethernet1', null);
   assert.ok(spans.length >= 49 && spans.length <= 101, String(spans.length));
   assert.deepEqual(spans[spans.length - 1], held(19999, 19999.5));
   assert.ok(spans.every(({ from, to }) => to - from === 0.5));
});

test('Live.StandbyThatIsOverIsToldLikeAHold', async t => {
   const host = new FakeHost(t);
   host.ports.push({ ...port, interface: 'Ethernet2', portChannel: null });
   host.records = [
      start(1, 0), write(2, 0, 'mlagProtoStatus/portsErrdisabled', true),
      standby(3, 0, 'Port-Channel1', true), standby(4, 300, 'Port-Channel1', false),
      write(5, 300, 'mlagProtoStatus/portsErrdisabled', false),
      { seq: 6, t: 310, type: 'write', path: ['lacpConfig', 'portChannel', 'Port-Channel2'],
         value: { stayInStandby: false } },
   ];
   const live = await follow(host);
   assert.equal(stateOf(live.ports.get('Ethernet1')), 'released');
   assert.equal(stateOf(live.ports.get('Ethernet2')), 'free');
   const tracks = live.story.tracks.map(({ spans }) => spans);
   assert.deepEqual(tracks, [[{ from: 0, to: 300, kind: 'standby', why: '' }], []]);
   assert.deepEqual(live.story.periods.mlag, [{ from: 0, to: 300, kind: 'period', why: '' }]);
   assert.match(live.entries.map(entry => entry.text).join('\n'),
      /out of LACP standby: Port-Channel1\n.*out of LACP standby: Port-Channel2/s);
});

test('Live.ABigReloadIsKnownBackToWhereTheBootBegan', async t => {
   const host = new FakeHost(t);
   host.ports = [];
   host.records = [start(1, 0), cause(2, 50, 'Ethernet7', 50), cause(3, 60, 'Ethernet7', null),
      { seq: 4, t: 60, type: 'log', id: 'OF_THE_BOOT_BEFORE', text: '' }, start(5, 5)];
   for (let i = 1; i <= 4000; ++i) {
      const name = `Ethernet${i}`;
      host.ports.push({ ...port, interface: name, portChannel: null });
      host.records.push(cause(5 + i, 5, name, 5), cause(8005 + i, 305, name, null));
   }
   host.records.sort((a, b) => a.seq - b.seq);
   for (let i = 1; i <= 9000; ++i) {
      host.records.push({ seq: 20000 + i, t: 400, type: 'log', id: 'ID', severity: 6, text: '' });
   }
   const live = await follow(host);
   const shapes = new Set(live.story.tracks.map(({ spans }) => JSON.stringify(spans)));
   assert.deepEqual([...shapes], [JSON.stringify([held(5, 305)])]);
   assert.equal(live.story.knownFrom, null);
   assert.equal([...live.ports.values()].filter(p => stateOf(p) === 'released').length, 4000);
   assert.equal(host.openStreams.length, 1);
   assert.ok(live.story.marks.every(({ text }) => !text.startsWith('OF_THE_BOOT_BEFORE')));
});

test('Live.WhatIsNotKnownAnyMoreIsSaid', async t => {
   const host = new FakeHost(t);
   host.records = [{ seq: 70, t: 200, type: 'log', id: 'ID', severity: 6, text: '' },
      cause(71, 300, 'Ethernet1', null)];
   const live = await follow(host);
   assert.deepEqual(live.story.tracks[0].spans, [held(200, 300)]);
   assert.equal(live.story.knownFrom, 200);
   assert.equal(stateOf(live.ports.get('Ethernet1')), 'released');
});

test('Live.MarksAreOfThisBoot', async t => {
   const host = new FakeHost(t);
   const log = (seq, at, id) => ({ seq, t: at, type: 'log', id, severity: 6, text: 'x' });
   host.boot = { id: 'b', time: 100 };
   host.records = [start(1, 0), log(2, 60, 'BEFORE'), start(3, 10), log(4, 90, 'NOW')];
   const live = await follow(host);
   assert.deepEqual(live.story.marks.filter(({ kind }) => kind === 'log').map(({ text }) => text),
      ['NOW: x']);
});

test('Live.ADelayThatBeginsIsShownWhenTheHostHasSaidHowLongItIs', async t => {
   const host = new FakeHost(t);
   host.records = [start(1, 0)];
   const live = await follow(host);
   host.send(cause(2, 10, 'Ethernet1', 10));
   assert.equal(stateOf(live.ports.get('Ethernet1')), 'free');
   host.mlag = held300;
   host.ports = [{ ...port, hold }];
   await askAgain(t, host);
   assert.equal(stateOf(live.ports.get('Ethernet1')), 'held');
   host.send(cause(3, 20, 'Ethernet1', null));
   assert.equal(stateOf(live.ports.get('Ethernet1')), 'released');
   host.ports = [port];
   await askAgain(t, host);
   host.send(cause(4, 30, 'Ethernet1', 30));
   assert.equal(stateOf(live.ports.get('Ethernet1')), 'held');
   assert.equal(live.ports.get('Ethernet1').reason, '');
});

test('Live.AStreamThatIsDeadIsOpenedAgain', async t => {
   const host = new FakeHost(t);
   host.records = [start(1, 0)];
   const live = await follow(host);
   assert.equal(host.streams.length, 1);
   host.records.push(cause(2, 10, 'Ethernet1', 10));
   await askAgain(t, host);
   assert.equal(host.streams.length, 1);
   await askAgain(t, host);
   await askAgain(t, host);
   await askAgain(t, host);
   assert.equal(host.streams.length, 2);
   assert.equal(host.openStreams[0].path, '/v1/events?since=2');
   assert.equal(live.records.last, 2);
   host.streams[1].onmessage({ data: JSON.stringify(host.records[1]) });
   for (let i = 0; i < 5; ++i) {
      await askAgain(t, host);
   }
   assert.equal(host.streams.length, 2);
   assert.equal(live.records.last, 2);
});

test('Live.RecordsThatComeDuringAQuestionAreNoOtherStore', async t => {
   const host = new FakeHost(t);
   host.records = [start(1, 0), cause(2, 1, 'Ethernet1', 1)];
   const live = await follow(host);
   const { records } = live;
   const answer = host.answer.bind(host);
   host.answer = path => {
      const told = answer(path);
      if (path === '/v1/summary') {
         host.send(cause(host.last + 1, 5, 'Ethernet1', null));
      }
      return told;
   };
   await askAgain(t, host);
   assert.equal(live.records, records);
   assert.equal(host.streams.length, 1);
   host.answer = answer;
   host.records = [start(1, 0)];
   await askAgain(t, host);
   assert.notEqual(live.records, records);
   assert.equal(live.records.last, 1);
   assert.equal(host.openStreams.length, 1);
});

const busy = headers => ({ headers, text: JSON.stringify(
   { error: { where: 'connections', found: 'too many', expected: 'another try later' } }) });

test('Live.AHostThatRefusesIsNoConnectionThatIsLost', async t => {
   const host = new FakeHost(t);
   host.records = [start(1, 0)];
   const live = await follow(host);
   host.streams[0].onopen();
   assert.deepEqual(connectionOf(live), { isWell: true, words: 'live' });
   host.refusals.set('/v1/ports', busy({ 'Retry-After': '30' }));
   await askAgain(t, host);
   const { isWell, words } = connectionOf(live);
   assert.ok(!isWell);
   assert.match(words, /^the host is there and refuses to answer \(503: connections: too many: /);
   assert.match(words, /; tried again every 30 seconds; what is shown is from \d\d:\d\d:\d\d$/);
   const { length } = host.asked;
   await askAgain(t, host, 29);
   assert.equal(host.asked.length, length);
   host.refusals.clear();
   await askAgain(t, host, 2);
   assert.ok(host.asked.length > length);
   assert.equal(host.openStreams.length, 1);
   host.openStreams[0].onopen();
   assert.equal(connectionOf(live).words, 'live');
});

test('Live.RecordsAreAskedForWhenTheHostSendsNoEvents', async t => {
   const host = new FakeHost(t);
   host.records = [start(1, 0)];
   const live = await follow(host);
   host.refusals.set('/v1/events', busy({}));
   const [stream] = host.streams;
   stream.readyState = 2;
   stream.onerror();
   assert.notEqual(live.connection, 'lost');
   await askAgain(t, host, 1);
   assert.match(connectionOf(live).words,
      /^the host sends no events \(503: connections: .*\); asked every 5 seconds instead$/);
   host.records.push(cause(2, 10, 'Ethernet1', 10));
   await askAgain(t, host);
   assert.equal(live.records.last, 2);
   assert.equal(host.streams.length, 1);
   host.refusals.clear();
   await askAgain(t, host);
   assert.equal(host.openStreams[0].path, '/v1/events?since=2');
});

test('Live.AConnectionThatIsLostIsSaidToBe', async t => {
   const host = new FakeHost(t);
   host.records = [start(1, 0)];
   const live = await follow(host);
   globalThis.fetch = async () => { throw new TypeError('network'); };
   await askAgain(t, host);
   assert.match(connectionOf(live).words, /^connection lost since \d\d:\d\d:\d\d; what is shown/);
   assert.equal(connectionOf({ ...live, summary: null }).words, 'no connection');
});

test('Live.APageThatNobodySeesKeepsNoConnection', async t => {
   const host = new FakeHost(t);
   host.records = [start(1, 0)];
   const live = await follow(host);
   live.pause(true);
   assert.equal(host.openStreams.length, 0);
   const { length } = host.asked;
   await askAgain(t, host);
   assert.equal(host.asked.length, length);
   live.pause(false);
   await askAgain(t, host);
   assert.equal(host.openStreams[0].path, '/v1/events?since=1');
});

test('Live.DatesAreByTheClockOfTheHost', async t => {
   const host = new FakeHost(t);
   host.records = [{ ...start(1, 5), time: '2020-01-02T03:04:05.000Z' }];
   const live = await follow(host);
   assert.equal(new Date(live.dateOf(6)).toISOString(), '2020-01-02T03:04:06.000Z');
});

test('Live.PortsAreAsTheHostTellsThem', () => {
   const told = { ...port, class: 'nonMlag', portChannel: null };
   assert.equal(stateOf(portOf(told, null)), 'free');
   assert.equal(stateOf(portOf(told, 5)), 'released');
   assert.equal(stateOf(portOf({ ...told, link: null }, null)), 'absent');
   assert.equal(stateOf(portOf({ ...told, protodown: { on: true } }, 5)), 'down');
   const isHeld = { ...told, portChannel: 'Port-Channel1', hold };
   assert.equal(stateOf(portOf(isHeld, null, endlessOf([]))), 'held');
   for (const [kind, name, state] of [
      ['heldWithoutEnd', 'Ethernet1', 'endless'], ['heldWithoutEnd', 'Ethernet2', 'held'],
      ['standbyWithoutEnd', 'Port-Channel1', 'endless'], ['notEnforced', 'Ethernet1', 'held'],
   ]) {
      assert.equal(stateOf(portOf(isHeld, null, endlessOf([{ kind, interface: name }]))), state);
   }
});
