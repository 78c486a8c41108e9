// SPDX-License-Identifier: Apache-2.0
// Copyright 2026 The MlagOstra authors

// The page of a live switch: as it is now, and what would become of it.

import { Body, Header } from './body.js';
import { connectionOf } from './livestory.js';
import { stateOf, timeOfDay } from './model.js';
import { Foreign, html, useEffect, useState } from './parts.js';
import { News } from './summary.js';
import { Releasers, WhatIf } from './whatif.js';

/** @typedef {import('./live.js').Live} Live */

/** In milliseconds: a picture at most that often, and at least that often. */
const leastBetween = 250;
const mostBetween = 1000;

/** @param {{ live: Live }} props */
export function LivePage({ live }) {
   const [, draw] = useState(0);
   useEffect(() => {
      let due = 0;
      let lastAt = -Infinity;
      const later = () => {
         if (!due) {
            due = window.setTimeout(() => {
               due = 0;
               lastAt = performance.now();
               draw(n => n + 1);
            }, Math.max(0, lastAt + leastBetween - performance.now()));
         }
      };
      live.onChange = later;
      // What came before this is not waited for again; the first picture comes at once.
      if (live.summary) {
         later();
      }
      const clock = setInterval(later, mostBetween);
      return () => clearInterval(clock);
   }, []);
   const entries = live.entries;
   const story = live.story;
   const now = live.now();
   const whenOf = (/** @type {number} */ t, /** @type {string|null} */ time) =>
      timeOfDay(time === null ? live.dateOf(t) : Date.parse(time), live.dateOf(now));
   const { isWell, words } = connectionOf(live);
   const status = isWell ? words : html`<strong class="lost"><${Foreign}>${words}<//></strong>`;
   if (!live.summary) {
      return html`<${Header} title="ostra" status=${status} version="" />`;
   }
   const { mlag, nonMlag, version, store, ready } = live.summary;
   return html`
      <${Header} title="This switch" version=${`${version}, ${location.host}`} status=${html`${status}${
         !ready && ', not ready'}${store.problem && html`, store: <${Foreign}>${store.problem}<//>`}`} />
      <${Body} ports=${live.ports} periods=${{ mlag, nonMlag }} alarms=${live.alarms}
         entries=${entries} story=${story} now=${now} zero=${mlag.start ?? story.start}
         whenOf=${whenOf} below=${html`<${WhatIf} /><${News} entries=${entries} />`}
         moreOf=${(/** @type {import('./model.js').Port} */ port) =>
            port.hold && html`<${Releasers} key=${stateOf(port)} port=${port} />`} />`;
}
