// SPDX-License-Identifier: Apache-2.0
// Copyright 2026 The MlagOstra authors

// A reload from its beginning to its end, as the time line shows it: when each port was held,
// when each class of ports waited, and what happened beside that.

import { compareNames, rangesOf } from './names.js';

/**
 * Times in seconds; `to` is null as long as it goes on, and then `until` is when it will end, if
 * that is known.
 * @typedef {{ from: number, to: number|null, kind: string, why: string,
 *             until?: number|null }} Span
 * @typedef {{ name: string, class: string, portChannel: string|null, spans: Span[] }} Track
 * @typedef {{ t: number, kind: string, text: string }} Mark
 * @typedef {{ start: number, end: number, tracks: Track[],
 *             periods: { [portClass: string]: Span[] }, marks: Mark[],
 *             knownFrom?: number|null }} Story
 * `knownFrom`: what was before is not known.
 *
 * A row of the time line. `children` are below it when it is open, and made when they are asked
 * for; `isOpenable`: it has some.
 * @typedef {{ key: string, label: string, spans: Span[], ports: string[], isOpenable: boolean,
 *             readonly children: Lane[] }} Lane
 */

/** A port that was held and is now of a class that never is waits with the non-MLAG ports.
 * @param {Track} track */
const waitsWith = track => track.class === 'mlag' ? 'mlag' : 'nonMlag';

/** The same for those that were held at the same times.
 * @param {{ spans: Span[] }} track a track or a lane */
const shapeOf = track => track.spans.map(s => `${s.from} ${s.to} ${s.kind}`).join(', ');

/** Tracks whose spans are the same, in the order of their first names.
 * @param {Track[]} tracks @returns {Track[][]} */
function alike(tracks) {
   /** @type {Map<string, Track[]>} */
   const groups = new Map();
   for (const track of tracks) {
      const shape = shapeOf(track);
      const group = groups.get(shape);
      if (group) {
         group.push(track);
      } else {
         groups.set(shape, [track]);
      }
   }
   return [...groups.values()];
}

/** More bars of a lane cannot be told apart. */
const mostBars = 200;

/** As few as can be told apart: those that are nearer than a step are one.
 * @param {Span[]} spans @param {number} step in seconds @returns {Span[]} */
export function fewer(spans, step) {
   if (spans.length <= mostBars) {
      return spans;
   }
   /** @type {Map<string, Span>} */
   const newest = new Map();
   /** @type {Span[]} */
   const kept = [];
   for (const span of [...spans].sort((a, b) => a.from - b.from)) {
      const sort = `${span.kind} ${span.to === null}`;
      const before = newest.get(sort);
      if (before && (before.to === null || span.from - before.to < step)) {
         if (before.to !== null && span.to !== null) {
            before.to = Math.max(before.to, span.to);
         } else {
            before.until = before.until == null || span.until == null
               ? null : Math.max(before.until, span.until);
         }
      } else {
         const one = { ...span };
         newest.set(sort, one);
         kept.push(one);
      }
   }
   return kept;
}

/** Marks of one kind that are nearer than a step are one, whose text begins with theirs.
 * @param {Mark[]} marks @param {number} step in seconds @returns {Mark[]} */
export function fewerMarks(marks, step) {
   /** @type {Map<string, { mark: Mark, count: number }>} */
   const places = new Map();
   for (const mark of marks) {
      const place = `${mark.kind} ${Math.floor(mark.t / step)}`;
      const there = places.get(place);
      if (there) {
         ++there.count;
      } else {
         places.set(place, { mark, count: 1 });
      }
   }
   return [...places.values()].map(({ mark, count }) =>
      count === 1 ? mark : { ...mark, text: `${mark.text}; and ${count - 1} more` });
}

/** When each class waited. That a delay is over for a class is seen by what was held of it.
 * @param {Span[]} delays of whatever class @param {Track[]} tracks
 * @param {{ [portClass: string]: import('./model.js').Period }|null} present
 * @returns {{ [portClass: string]: Span[] }} */
export function delaysOf(delays, tracks, present) {
   /** @type {{ [portClass: string]: Span[] }} */
   const periods = { mlag: [], nonMlag: [] };
   for (const [name, spans] of Object.entries(periods)) {
      const ends = tracks.filter(track => waitsWith(track) === name)
         .flatMap(track => track.spans).flatMap(({ to }) => to === null ? [] : [to]);
      const period = present?.[name];
      const isHeld = period?.state === 'held' && period.start !== null;
      for (const delay of delays) {
         const within = ends.filter(
            end => end > delay.from && (delay.to === null || end <= delay.to));
         const to = within.reduce(
            (/** @type {number|null} */ last, end) => Math.max(last ?? end, end), null) ?? delay.to;
         if (to !== null && !(isHeld && delay.to === null)) {
            spans.push({ from: delay.from, to, kind: 'period', why: '' });
         }
      }
      if (isHeld && period && period.start !== null) {
         spans.push({ from: period.start, to: null, until: period.end, kind: 'period', why: '' });
      }
   }
   return periods;
}

/** What is true of any of the ports, each span once.
 * @param {Track[]} tracks @returns {Span[]} */
function unionOf(tracks) {
   const seen = new Map();
   for (const track of tracks) {
      for (const span of track.spans) {
         seen.set(`${span.from} ${span.to} ${span.kind}`, span);
      }
   }
   return [...seen.values()].sort((a, b) => a.from - b.from);
}

/** @param {string} key @param {string} label @param {Span[]} spans @param {Track[]} tracks
 * @param {() => Lane[]} makeChildren @returns {Lane} */
function laneOf(key, label, spans, tracks, makeChildren) {
   /** @type {Lane[]|null} */
   let children = null;
   return {
      key, label, spans,
      ports: tracks.map(track => track.name),
      isOpenable: tracks.length > 0,
      get children() {
         children ??= makeChildren();
         return children;
      },
   };
}

/** @param {Track} track @returns {Lane} */
const laneOfPort = track => ({
   ...laneOf(`port ${track.name}`, track.name, track.spans, [track], () => []), isOpenable: false,
});

/** @param {string} key @param {Track[]} tracks @returns {Lane[]} */
const lanesOfRanges = (key, tracks) => alike(tracks).map(group => {
   const names = group.map(track => track.name);
   return group.length === 1 ? laneOfPort(group[0])
      : laneOf(`${key} ${names[0]}`, rangesOf(names), group[0].spans, group,
         () => group.map(laneOfPort));
});

/** @param {string} name @param {Track[]} tracks @returns {Lane} */
const laneOfChannel = (name, tracks) => laneOf(`lag ${name}`, name, unionOf(tracks), tracks, () => {
   const inner = lanesOfRanges(`lag ${name}`, tracks);
   // A range that is all there is would say the same again.
   return inner.length === 1 && inner[0].isOpenable ? inner[0].children : inner;
});

/** Its port-channels, then the rest. @param {string} portClass @param {Track[]} tracks */
function lanesOfClass(portClass, tracks) {
   const sorted = [...tracks].sort((a, b) => compareNames(a.name, b.name));
   /** @type {Map<string, Track[]>} */
   const channels = new Map();
   for (const track of sorted) {
      if (track.portChannel !== null) {
         const members = channels.get(track.portChannel) ?? [];
         channels.set(track.portChannel, members);
         members.push(track);
      }
   }
   return [
      ...[...channels.keys()].sort(compareNames).map(
         name => laneOfChannel(name, channels.get(name) ?? [])),
      ...lanesOfRanges(`single ${portClass}`, sorted.filter(track => track.portChannel === null)),
   ];
}

/** The lanes of ports that were ever held: for each class its port-channels, then the rest.
 * @param {Story} story @returns {{ portClass: string, lane: Lane }[]} */
export const lanesOf = story => ['mlag', 'nonMlag'].map(portClass => {
   const tracks = story.tracks.filter(
      track => waitsWith(track) === portClass && track.spans.length);
   return { portClass, lane: laneOf(portClass, portClass, unionOf(tracks), tracks,
      () => lanesOfClass(portClass, tracks)) };
});

/** The innermost lanes that are not of the same shape all over.
 * @param {Lane} lane @returns {Lane[]} */
export function rangesIn(lane) {
   const shape = shapeOf(lane);
   return lane.children.every(child => shapeOf(child) === shape) ? [lane]
      : lane.children.flatMap(rangesIn);
}

/** At most so many round times between two, for an axis.
 * @param {number} start @param {number} end @param {number} most @returns {number[]} */
export function ticksBetween(start, end, most) {
   const steps = [1, 2, 5, 10, 15, 30, 60, 120, 300, 600, 900, 1800, 3600, 7200, 21600, 86400];
   const span = end - start;
   const step = steps.find(s => span / s <= most) ?? Math.ceil(span / most / 86400) * 86400;
   const ticks = [];
   for (let t = Math.ceil(start / step) * step; t <= end; t += step) {
      ticks.push(t);
   }
   return ticks;
}

/** What is needed to show the whole of it, and a little more.
 * @param {Track[]} tracks @param {{ [portClass: string]: Span[] }} periods @param {number} now
 * @returns {{ start: number, end: number }} */
export function rangeOf(tracks, periods, now) {
   const spans = [...tracks.flatMap(track => track.spans), ...Object.values(periods).flat()];
   if (!spans.length) {
      return { start: now - 60, end: now + 60 };
   }
   let start = Infinity;
   let end = -Infinity;
   for (const { from, to, until } of spans) {
      start = Math.min(start, from);
      end = Math.max(end, from, to ?? until ?? now);
   }
   const margin = Math.max(5, (end - start) * 0.04);
   return { start, end: end + margin };
}
