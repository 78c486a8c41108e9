// SPDX-License-Identifier: Apache-2.0
// Copyright 2026 The MlagOstra authors

// What the page makes of ports and records, without a browser.

import assert from 'node:assert/strict';
import { test } from 'node:test';

import { groupsOf } from '../../host/web/alarms.js';
import { layoutOf } from '../../host/web/layout.js';
import { duration, instant, plain, secondsLeft, stateOf } from '../../host/web/model.js';
import { compareNames, rangesOf } from '../../host/web/names.js';
import { differencesOf } from '../../host/web/compare.js';
import { Recorded, recordedOf } from '../../host/web/recorded.js';
import { fewer, fewerMarks, lanesOf, rangeOf, rangesIn, ticksBetween } from '../../host/web/story.js';
import { changesOf, entriesOf, marksOf, newsOf, onlyIn } from '../../host/web/words.js';

const port = {
   name: 'Ethernet1', class: 'mlag', portChannel: null, isPresent: true, admin: '', link: '',
   device: null, hold: null, released: null, reason: '',
};
const hold = { kind: 'errdisable', since: 1, until: 300 };

test('Model.EveryPortIsInOneState', () => {
   const states = [
      [{}, 'free'],
      [{ released: 300 }, 'released'],
      [{ hold }, 'held'],
      [{ hold: { ...hold, enforced: 'held' } }, 'held'],
      [{ hold: { ...hold, enforced: 'pending' } }, 'pending'],
      [{ released: 300, isDown: true }, 'down'],
      [{ hold, isDown: true }, 'held'],
      [{ hold: { ...hold, enforced: 'unsupported' } }, 'unsupported'],
      [{ hold: { ...hold, enforced: 'failed' } }, 'failed'],
      [{ hold: { ...hold, until: null } }, 'endless'],
      [{ hold: { ...hold, kind: 'lacpStandby' } }, 'standby'],
      [{ class: 'peerLink' }, 'never'],
      [{ class: 'management' }, 'never'],
      [{ isPresent: false }, 'absent'],
      [{ isPresent: false, hold }, 'held'],
   ];
   for (const [changed, state] of states) {
      assert.equal(stateOf({ ...port, ...changed }), state, JSON.stringify(changed));
   }
});

test('Model.TimeThatIsLeftIsNeverNothingBeforeTheEnd', () => {
   assert.equal(secondsLeft({ ...port, hold }, 100), 200);
   assert.equal(secondsLeft({ ...port, hold }, 400), 0);
   assert.equal(secondsLeft({ ...port, hold: { ...hold, until: null } }, 100), null);
   assert.equal(secondsLeft(port, 100), null);
   assert.deepEqual([0.001, 1, 59.2, 300, 3600].map(duration),
      ['0:01', '0:01', '1:00', '5:00', '1:00:00']);
   assert.deepEqual([0, 97.25, 3725, -5].map(instant),
      ['0:00:00', '0:01:37.25', '1:02:05', '-0:00:05']);
});

test('Model.NamesAreOrderedAndShortenedByTheirNumbers', () => {
   const names = ['Ethernet10', 'Ethernet2', 'Ethernet49/1', 'Management1', 'Ethernet1', 'Ethernet3'];
   assert.deepEqual([...names].sort(compareNames),
      ['Ethernet1', 'Ethernet2', 'Ethernet3', 'Ethernet10', 'Ethernet49/1', 'Management1']);
   assert.equal(rangesOf(names), 'Ethernet1-3,10,49/1, Management1');
   assert.equal(rangesOf(['Ethernet3/1', 'Ethernet3/2', 'Ethernet4/1']), 'Ethernet3/1-2,4/1');
   assert.equal(rangesOf([]), '');
   assert.equal(rangesOf(['odd', 'even']), 'even, odd');
   assert.equal(rangesOf(['Ethernet50/1', 'Ethernet49/1', 'Ethernet49/1', 'Ethernet3/1/1', 'Ethernet3/2/1',
      'Ethernet4/1/1', 'Ethernet4/2/1']), 'Ethernet3-4/1-2/1,49-50/1');
});

test('Model.WhatChangesTheDirectionOfATextIsShown', () => {
   assert.equal(plain('a\u202eb\u2066\u05d0'), 'a\\u202eb\\u2066\u05d0');
});

test('Words.NewsAreShortAndOfWhatMatters', () => {
   const entry = (key, kind, text) => ({ key, kind, text });
   const entries = [entry('1', 'held', 'old'), entry('2', 'other', 'written'),
      entry('3', 'released', '2 ports released'), entry('4', 'alarm', 'x'.repeat(1000))];
   assert.equal(newsOf(entries.slice(0, 3), 1), '2 ports released');
   assert.equal(newsOf(entries, 1).length, 200);
   assert.equal(newsOf(entries, 4), '');
});

const cageNames = module => module.blocks.flat().map(cage => cage.ports.map(p => p.label).join(' '));

test('Layout.PortsAreInCagesAndModules', () => {
   const leaf = layoutOf(['Ethernet1', 'Ethernet2', 'Ethernet49/1', 'Ethernet49/2', 'Management1']);
   assert.deepEqual(leaf.map(module => module.title), ['Ethernet', 'Management']);
   assert.deepEqual(cageNames(leaf[0]), ['1', '2', '49/1 49/2']);
   const modular = layoutOf(['Ethernet3/1/1', 'Ethernet3/1/2', 'Ethernet3/2', 'Ethernet4/30']);
   assert.deepEqual(modular.map(module => module.title), ['Ethernet 3', 'Ethernet 4']);
   assert.deepEqual(cageNames(modular[0]), ['1/1 1/2', '2']);
});

test('Layout.EveryPortIsThereOnce', () => {
   const names = [];
   for (let i = 1; i <= 1000; ++i) {
      names.push(`Ethernet${i}`);
   }
   names.push('odd', 'Ethernet7/1/2/3');
   const all = layoutOf(names).flatMap(m => m.blocks.flat().flatMap(c => c.ports.map(p => p.name)));
   assert.deepEqual(all.sort(), names.sort());
   for (const module of layoutOf(names)) {
      assert.ok(module.blocks.every(block => block.length <= 12));
   }
});

const cause = (seq, t, name, value) =>
   ({ seq, t, type: 'write', path: ['mlagissuCause', 'intfStatus', name], value });

test('Words.WritesOfOneInstantAreOneEntry', () => {
   const entries = entriesOf([
      cause(1, 0, 'Ethernet1', 0), cause(2, 0, 'Ethernet2', 0), cause(3, 5, 'Ethernet1', null),
      { seq: 4, t: 5, type: 'log', id: 'ID', severity: 6, text: '<b>' },
      { seq: 5, t: 6, type: 'event', index: 1, patch: { mlagStatus: { mlagState: 3 } } },
      { seq: 6, t: 6, type: 'event', index: 2, text: 'it goes: a.b = 1', patch: { a: { b: 1 } } },
      { seq: 7, t: 7, type: 'from a later version' },
      { seq: 8, t: 8, type: 'gone', interface: 'Ethernet1' }, cause(9, 8, 'Ethernet1', null),
      { seq: 10, t: 8, type: 'gone', interface: 'Ethernet2' }, cause(11, 8, 'Ethernet2', null),
   ]);
   assert.deepEqual(entries.map(e => [e.t, e.kind, e.text]), [
      [0, 'held', '2 ports errdisabled: Ethernet1-2'],
      [5, 'released', '1 port released: Ethernet1'],
      [5, 'log', 'ID: <b>'],
      [6, 'event', 'changed: mlagStatus.mlagState = 3'],
      [6, 'event', 'it goes: a.b = 1'],
      [7, 'other', 'from a later version'],
      [8, 'other', '2 ports gone: Ethernet1-2'],
      [8, 'released', '2 ports released: Ethernet1-2'],
   ]);
   assert.deepEqual(changesOf({ a: { b: null, c: {} } }), ['a.b = null', 'a.c = {}']);
});

test('Words.ReleasesByHandAndAlarmsOfOneInstantAreOneEntry', () => {
   const of = (seq, type, name, more = {}) => ({ seq, t: 5, type, interface: name, ...more });
   const raised = { state: 'raised', text: 'no end' };
   const told = entriesOf([
      of(1, 'release', 'Ethernet2'), of(2, 'release', 'Ethernet1'), of(3, 'release', 'Ethernet3'),
      of(4, 'alarm', 'Ethernet1', raised), of(5, 'alarm', 'Ethernet2', raised),
      of(6, 'alarm', 'Ethernet2', { ...raised, state: 'cleared' }),
      of(7, 'alarm', 'Ethernet3', { ...raised, text: 'another' }),
      { ...of(8, 'alarm', 'Ethernet3', raised), t: 6 },
   ]);
   assert.deepEqual(told.map(({ key, kind, text }) => `${key} ${kind} ${text}`), [
      '1 event Ethernet1-3 released by hand', '4 alarm alarm raised: Ethernet1-2: no end',
      '6 alarm alarm cleared: Ethernet2: no end', '7 alarm alarm raised: Ethernet3: another',
      '8 alarm alarm raised: Ethernet3: no end',
   ]);
   assert.deepEqual(told[0].names, ['Ethernet2', 'Ethernet1', 'Ethernet3']);
});

test('Words.AnEventSaysWhatItIsCalledAndIsOfTheInterfacesThatItChanges', () => {
   const intfStatus = { Ethernet1: null, Ethernet2: {}, Ethernet3: {}, Ethernet4: {} };
   const patch = { ethPhyIntfStatus: { intfStatus }, mlagStatus: { mlagState: 3 }, agent: null };
   const [told, live] = entriesOf([
      { t: 1, type: 'event', index: 0, text: 'the cable <b>: Ethernet1 disappears', patch },
      { seq: 2, t: 2, type: 'event', index: 1, patch },
   ]);
   assert.equal(told.text, 'the cable <b>: Ethernet1 disappears');
   assert.deepEqual(told.names, Object.keys(intfStatus));
   assert.equal(live.text, 'changed: ethPhyIntfStatus.intfStatus.Ethernet1 = null, ' +
      'ethPhyIntfStatus.intfStatus.Ethernet2-4 = {}, mlagStatus.mlagState = 3, agent = null');
   assert.deepEqual(marksOf([told]), [{ t: 1, kind: 'event', text: told.text }]);
});

test('Words.ForecastsDifferByWhatOneAloneHas', () => {
   const without = entriesOf([cause(1, 5.01, 'Ethernet1', null), cause(2, 300, 'Ethernet2', null)]);
   const changed = entriesOf([cause(1, 6.02, 'Ethernet1', null), cause(2, 297, 'Ethernet2', null)]);
   assert.deepEqual([...onlyIn(changed, without, 2)], ['2']);
   assert.deepEqual([...onlyIn(without, changed, 2)], ['2']);
   assert.deepEqual([...onlyIn(without, changed, 1)], ['1', '2']);
   assert.deepEqual([...onlyIn(without, changed, 4)], []);
   assert.deepEqual([...onlyIn(without, without, 0)], []);
});

const fact = (name, state, more = {}) => ({
   interface: name, class: 'mlag', portChannel: 'Port-Channel1', isPresent: true, admin: 1, link: 0,
   state, why: '', ...more,
});
const stream = [
   { t: 0, type: 'start', name: 'a leaf', version: '1' },
   cause(undefined, 0, 'Ethernet1', 0),
   { t: 0, type: 'ports', ports: [fact('Ethernet1', 'held'), fact('Ethernet2', 'held'),
      fact('Management1', 'notHeld', { class: 'management', portChannel: null })] },
   { t: 0, type: 'periods', mlag: { state: 'held', start: 0, end: 300 },
      nonMlag: { state: 'idle', start: null, end: null } },
   { t: 100, type: 'ports', ports: [fact('Ethernet2', 'notHeld', { why: 'interface gone',
      isPresent: false })] },
   { t: 300, type: 'ports', ports: [fact('Ethernet1', 'notHeld', { why: 'delay over' })] },
   { t: 300, type: 'periods', mlag: { state: 'released', start: null, end: null },
      nonMlag: { state: 'idle', start: null, end: null } },
   { t: 300, type: 'end' },
];
const textOf = records => records.map(record => JSON.stringify(record)).join('\n');
const recorded = () => recordedOf(textOf(stream))[0];

test('Recorded.TheSwitchIsAsItWasAtAnyTime', () => {
   const run = recorded();
   assert.equal(run.name, 'a leaf');
   const statesAt = t => [...run.portsAt(t).values()].map(stateOf);
   assert.deepEqual(statesAt(0), ['held', 'held', 'never']);
   assert.deepEqual(statesAt(99.9), ['held', 'held', 'never']);
   assert.deepEqual(statesAt(100), ['held', 'absent', 'never']);
   assert.deepEqual(statesAt(300), ['released', 'absent', 'never']);
   assert.equal(run.portsAt(0).get('Ethernet1').hold.until, 300);
   assert.equal(run.portsAt(300).get('Ethernet1').released, 300);
   assert.equal(run.periodsAt(299).mlag.state, 'held');
   assert.equal(run.periodsAt(300).mlag.state, 'released');
});

test('Recorded.ARunThatSomebodyEndedIsShownUpToThere', () => {
   const [run] = recordedOf(textOf(stream.slice(0, 5)) + '\n{"t":300,"ty');
   assert.equal(run.end, 100);
   assert.equal(run.endWords, 'cut off at 0:01:40');
   assert.ok(!run.ending.why.includes('MLAG'));
   assert.equal(recorded().endWords, '');
   assert.throws(() => recordedOf('{"t":\n' + textOf(stream)), SyntaxError);
});

test('Recorded.ARunThatFailedSaysWhyAndOneThatWasEndedSaysThat', () => {
   const ended = more => new Recorded([...stream.slice(0, -1), { t: 301, type: 'end', ...more }]);
   const failed = ended({ isTimerLeft: true, failure: 'no child today' });
   assert.equal(failed.endWords, 'failed at 0:05:01');
   assert.equal(failed.ending.why, 'no child today');
   assert.equal(ended({ isTimerLeft: true }).endWords, 'ended with timers left');
   assert.equal(ended({ isTimerLeft: true }).ending.why, '');
});

test('Recorded.AStreamThatWasCutOffDoesNotSayUntilWhenPortsAreHeld', () => {
   const run = new Recorded([
      { t: 0, type: 'write', path: ['mlagProtoStatus', 'portsErrdisabled'], value: true },
      cause(1, 0, 'Ethernet1', 0)]);
   assert.equal(run.endWords, 'cut off at 0:00:00');
   assert.ok(run.ending.why.includes('which ports are MLAG ports'));
   assert.equal(run.periodsAt(0).nonMlag.isEndUnknown, true);
   assert.equal(stateOf(run.portsAt(0).get('Ethernet1')), 'held');
});

const alarm = (name, more = {}) => ({ kind: 'heldWithoutEnd', interface: name, since: 0,
   text: 'errdisabled, and no timer ends it', ending: `ostra release ${name}`, ...more });

test('Recorded.HasTheAlarmsAtItsEnd', () => {
   assert.equal(recorded().alarms, null);
   const run = new Recorded([...stream, { t: 300, type: 'alarms', alarms: [alarm('Ethernet1')] }]);
   assert.deepEqual(run.alarms, [alarm('Ethernet1')]);
   assert.equal(run.endWords, '');
   assert.ok(run.entries.every(({ text }) => text !== 'alarms'));
});

test('Alarms.ThoseThatSayTheSameAreOne', () => {
   const other = alarm('Port-Channel1', { kind: 'standbyWithoutEnd' });
   assert.deepEqual(groupsOf([alarm('Ethernet1'), other, alarm('Ethernet2')]), [
      { kind: 'heldWithoutEnd', interfaces: ['Ethernet1', 'Ethernet2'],
         text: 'errdisabled, and no timer ends it', ending: 'ostra release INTERFACE' },
      { kind: 'standbyWithoutEnd', interfaces: ['Port-Channel1'],
         text: 'errdisabled, and no timer ends it', ending: 'ostra release Port-Channel1' },
   ]);
   assert.equal(groupsOf([alarm('Ethernet1'), alarm('Ethernet2', { text: 'other' })]).length, 2);
});

test('Recorded.SaysWhatWouldReleaseAPortAsItWasTriedLast', () => {
   const trial = (t, changes) => ({ t, type: 'releasers', changes });
   const run = new Recorded([...stream.slice(0, -1),
      trial(0, [{ meaning: 'all', releases: true }, { meaning: 'none', releases: false },
         { meaning: 'unknown', releases: null },
         { meaning: 'some', releases: { 'mlag errdisable': false, Ethernet1: true } },
         { meaning: 'others', releases: { 'nonMlag errdisable': true } }]),
      trial(200, null), stream.at(-1)].sort((a, b) => a.t - b.t));
   const at = (name, t) => run.releasersOf(run.portsAt(t).get(name), t)
      ?.map(({ words, isSo }) => `${words} ${isSo}`) ?? null;
   assert.deepEqual(at('Ethernet1', 199), ['all true', 'none false', 'unknown null', 'some true']);
   assert.deepEqual(at('Ethernet2', 0), ['all true', 'none false', 'unknown null', 'some false']);
   assert.equal(at('Ethernet1', 200), null);
   assert.equal(recorded().releasersOf(run.portsAt(0).get('Ethernet1'), 0), null);
   assert.ok(run.entries.every(({ text }) => !text.includes('releasers')));
});

test('Recorded.AStreamSaysWhoWasHeld', () => {
   const write = (t, path, value) => ({ t, type: 'write', path: path.split('/'), value });
   const run = new Recorded([
      { t: 0, type: 'start', name: 'stream', version: '1' },
      write(0, 'mlagProtoStatus/portsErrdisabled', true), cause(1, 0, 'Ethernet1', 0),
      cause(2, 0, 'Ethernet9', 0), write(0, 'lacpConfig/portChannel/Port-Channel2/stayInStandby', true),
      write(300, 'lacpConfig/portChannel/Port-Channel2/stayInStandby', false),
      cause(3, 300, 'Ethernet1', null), cause(4, 330, 'Ethernet9', null),
      write(330, 'mlagProtoStatus/portsErrdisabled', false),
      { t: 330, type: 'places', places: { Ethernet1: ['mlag', 'Port-Channel1'],
         Ethernet2: ['mlag', 'Port-Channel2'], Ethernet3: ['peerLink', 'Port-Channel9'],
         Ethernet9: ['nonMlag', null], Management1: ['management', null] } },
      { t: 330, type: 'end', state: { mlagConfig: { reloadDelay: 300,
         reloadDelayNonMlagConfigured: true, reloadDelayNonMlag: 330 } } },
   ]);
   const statesAt = t => [...run.portsAt(t)].map(([name, p]) => `${name} ${stateOf(p)}`);
   assert.deepEqual(statesAt(0), ['Ethernet1 held', 'Ethernet2 standby', 'Ethernet3 never',
      'Ethernet9 held', 'Management1 never']);
   assert.equal(run.portsAt(0).get('Ethernet9').hold.until, 330);
   assert.deepEqual(statesAt(300), ['Ethernet1 released', 'Ethernet2 released', 'Ethernet3 never',
      'Ethernet9 held', 'Management1 never']);
   assert.deepEqual(run.story.periods.mlag, [{ from: 0, to: 300, kind: 'period', why: '' }]);
   assert.deepEqual(run.story.periods.nonMlag, [{ from: 0, to: 330, kind: 'period', why: '' }]);
   assert.equal(run.name, 'stream');
});

test('Compare.PortsThatWereHeldOrReleasedAtOtherTimesAndWhatWasTold', () => {
   const log = t => ({ t, type: 'log', id: 'ID', severity: 6, text: 'soon' });
   const early = stream.map(record => record.t === 300 && record.type === 'ports'
      ? { ...record, t: 200 } : record).sort((a, b) => a.t - b.t);
   early.splice(early.findIndex(record => record.t === 200), 0, log(150));
   const withLog = stream.toSpliced(5, 0, log(225));
   const text = `${textOf(withLog)}\n{"t":0,"type":"against"}\n${textOf(early)}`;
   const [a, b] = recordedOf(text);
   assert.deepEqual(differencesOf(a, b), [
      { of: 'Ethernet1', what: 'released at other times',
         a: 'errdisabled 0:00:00 to 0:05:00 (delay over)',
         b: 'errdisabled 0:00:00 to 0:03:20 (delay over)' },
      { of: 'ID: soon', what: 'told at other times', a: '0:03:45', b: '0:02:30' },
   ]);
   assert.deepEqual(differencesOf(a, a), []);
   const withoutReasons = new Recorded(JSON.parse(JSON.stringify(withLog)
      .replace(/"why":"[^"]*"/g, '"why":""')));
   assert.deepEqual(differencesOf(a, withoutReasons), []);
   const none = new Recorded(stream.slice(0, 1));
   assert.deepEqual(differencesOf(none, recorded()).map(({ of, what }) => `${of} ${what}`),
      ['Ethernet1 held in B alone', 'Ethernet2 held in B alone', 'the run ended otherwise']);
});

test('Compare.WhatIsOtherwiseAtTheEnd', () => {
   const withAlarms = names => new Recorded([
      ...stream, { t: 300, type: 'alarms', alarms: names.map(name => alarm(name)) }]);
   const [a, b] = [withAlarms(['Ethernet1', 'Ethernet3', 'Ethernet4']), withAlarms(['Ethernet1'])];
   const text = 'heldWithoutEnd: errdisabled, and no timer ends it';
   assert.deepEqual(differencesOf(a, b),
      [{ of: 'Ethernet3-4', what: 'alarm in A alone', a: text, b: '' }]);
   assert.deepEqual(differencesOf(b, a),
      [{ of: 'Ethernet3-4', what: 'alarm in B alone', a: '', b: text }]);
   // Nobody has looked for those of a stream.
   assert.deepEqual(differencesOf(a, recorded()), []);
   const failed = new Recorded([...stream.slice(0, -1), { t: 300, type: 'end', failure: 'x' }]);
   assert.deepEqual(differencesOf(recorded(), failed),
      [{ of: 'the run', what: 'ended otherwise', a: '', b: 'failed at 0:05:00' }]);
});

test('Story.LanesOpenUpIntoPortChannelsAndPorts', () => {
   const { story } = recorded();
   assert.deepEqual(story.periods.mlag, [{ from: 0, to: 300, kind: 'period', why: '' }]);
   const [mlag, nonMlag] = lanesOf(story);
   assert.deepEqual(mlag.lane.ports, ['Ethernet1', 'Ethernet2']);
   assert.deepEqual(mlag.lane.children.map(lane => lane.label), ['Port-Channel1']);
   assert.deepEqual(mlag.lane.children[0].children.map(lane => [lane.label, lane.spans]), [
      ['Ethernet1', [{ from: 0, to: 300, kind: 'held', why: 'delay over' }]],
      ['Ethernet2', [{ from: 0, to: 100, kind: 'held', why: 'interface gone' }]],
   ]);
   assert.deepEqual(nonMlag.lane.ports, []);
   assert.deepEqual(mlag.lane.children.flatMap(rangesIn).map(lane => lane.label),
      ['Ethernet1', 'Ethernet2']);
});

test('Story.APortThatWasHeldHasALaneWhateverItIsNow', () => {
   const spans = [{ from: 0, to: null, kind: 'held', why: '' }];
   const track = { name: 'Ethernet3', class: 'peerLink', portChannel: 'Port-Channel1000', spans };
   const [mlag, nonMlag] = lanesOf({ start: 0, end: 9, tracks: [track], periods: {}, marks: [] });
   assert.deepEqual(mlag.lane.ports, []);
   assert.deepEqual(nonMlag.lane.ports, ['Ethernet3']);
});

test('Story.WhatCannotBeToldApartIsDrawnOnce', () => {
   const held = (from, to) => ({ from, to, kind: 'held', why: '' });
   const few = [held(0, 1), held(1.1, 2)];
   assert.deepEqual(fewer(few, 1), few);
   const many = [];
   for (let i = 0; i < 1000; ++i) {
      many.push(held(i, i + 0.9));
   }
   many.push({ ...held(5000, null), until: 6000 }, { ...held(5001, null), until: 7000 });
   assert.deepEqual(
      fewer(many, 1), [held(0, 999.9), { ...held(5000, null), until: 7000 }]);
   const marks = many.map(({ from }) => ({ t: from, kind: 'log', text: `at ${from}` }));
   const drawn = fewerMarks(marks, 500);
   assert.deepEqual(drawn.map(mark => mark.text),
      ['at 0; and 499 more', 'at 500; and 499 more', 'at 5000; and 1 more']);
});

test('Story.TheLineHasAllOfItAndFewTicks', () => {
   const track = { name: 'a', class: 'mlag', portChannel: null, spans: [
      { from: 100, to: 400, kind: 'held', why: '' }] };
   assert.deepEqual(rangeOf([track], {}, 1e6), { start: 100, end: 412 });
   assert.deepEqual(rangeOf([], {}, 100), { start: 40, end: 160 });
   assert.deepEqual(ticksBetween(0, 330, 7), [0, 60, 120, 180, 240, 300]);
   for (const end of [0.5, 10, 1e3, 1e5, 1e8]) {
      assert.ok(ticksBetween(0, end, 7).length <= 8, String(end));
   }
});
