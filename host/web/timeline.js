// SPDX-License-Identifier: Apache-2.0
// Copyright 2026 The MlagOstra authors

// A reload on a line of time: a row for each class of ports, which opens up into its
// port-channels and ranges of ports, and these into ports; marks for what happened beside it.

import { classWords, counted, instant, plain } from './model.js';
import { Foreign, html, useMemo, useState } from './parts.js';
import { fewer, fewerMarks, lanesOf, rangesIn, ticksBetween } from './story.js';

/**
 * @typedef {import('./story.js').Story} Story
 * @typedef {import('./story.js').Span} Span
 * @typedef {import('./story.js').Lane} Lane
 *
 * `name`: of several lines; empty for one.
 * @typedef {{ story: Story, name: string }} Line
 */

/** @type {{ [kind: string]: string }} */
const spanWords = { held: 'errdisabled', standby: 'in LACP standby', period: 'the reload delay' };
/** @type {{ [kind: string]: string }} */
const markShapes = {
   event: 'M0,-6 L6,0 L0,6 L-6,0 Z',
   log: 'M0,-6 L6,5 L-6,5 Z',
   alarm: 'M-5,-5 L5,-5 L5,5 L-5,5 Z',
};

/** What a span is, for people.
 * @param {Span} span @param {number} zero */
function saysOf(span, zero) {
   const end = span.to !== null ? `to ${instant(span.to - zero)}`
      : typeof span.until === 'number' ? `until ${instant(span.until - zero)}`
         : 'without an end so far';
   const why = span.why ? `: ${span.why}` : '';
   return `${spanWords[span.kind] ?? span.kind} from ${instant(span.from - zero)} ${end}${why}`;
}

/** Of its length, for what can be told apart. */
const steps = 500;
/** In percent: a tick further right has no room for its time. */
const mostLeft = 95;
/** @param {Story} story */
const stepOf = story => (story.end - story.start) / steps;

/** @param {{ spans: Span[], scale: (t: number) => number, end: number, zero: number,
 *            name: string, cursor: number }} props positions in percent */
function Bars({ spans, scale, end, zero, name, cursor }) {
   return spans.flatMap((span, i) => {
      const says = plain(`${name}: ${saysOf(span, zero)}`);
      const isTall = span.kind === 'period';
      const piece = (/** @type {number} */ from, /** @type {number} */ to, /** @type {string} */ more) =>
         html`<rect key=${`${i}${more}`} class=${`b-${span.kind} ${more}`}
            x=${`${scale(from)}%`} width=${`${Math.max(0.15, scale(to) - scale(from))}%`}
            y=${isTall ? 2 : 4} height=${isTall ? 16 : 12} rx="2" data-says=${says}>
            <title>${says}</title></rect>`;
      if (span.to !== null) {
         return [piece(span.from, span.to, '')];
      }
      // What is still to come is drawn fainter.
      const present = Math.min(end, Math.max(span.from, cursor));
      return [piece(span.from, present, ''), piece(present, span.until ?? end, 'open')];
   });
}

/** `line`: which of several it belongs to.
 * @param {{ lane: Lane, line: string, depth: number, open: Set<string>, onToggle: (key: string) => void,
 *            story: Story, scale: (t: number) => number, zero: number,
 *            cursor: number, onSelect: (name: string) => void, periods?: Span[] }} props */
function LaneRow({ lane, line, depth, open, onToggle, story, scale, zero, cursor, onSelect, periods = [] }) {
   const key = line ? `${line} ${lane.key}` : lane.key;
   const isOpen = open.has(key);
   const name = depth === 0 ? `${line ? `${line}: ` : ''}${classWords[lane.key]} ports` : lane.label;
   const count = lane.ports.length > 1 ? counted(lane.ports.length, 'port') : '';
   const spans = useMemo(() => fewer(lane.spans, stepOf(story)), [lane, story]);
   const only = lane.ports.length === 1 ? lane.ports[0] : null;
   return html`<div class=${`lane d${Math.min(depth, 3)}`} data-lane=${key}>
      <div class="name">${lane.isOpenable
         ? html`<button type="button" class="fold" aria-expanded=${isOpen ? 'true' : 'false'}
              onClick=${() => onToggle(key)}>${isOpen ? '▾' : '▸'} ${name}
              ${' '}<span class="small">${count}</span></button>`
         : only !== null
            ? html`<button type="button" class="link" onClick=${() => onSelect(only)}>${name}</button>`
            : html`<span>${name} <span class="small">${count || 'none held'}</span></span>`}</div>
      <svg class="track" role="img" aria-label=${plain(`${name}: ${[...periods, ...spans]
         .slice(0, 20).map(s => saysOf(s, zero)).join('; ') || 'never held'}`)}>
         <${Bars} spans=${periods} scale=${scale} end=${story.end} zero=${zero} name=${name}
            cursor=${cursor} />
         <${Bars} spans=${spans} scale=${scale} end=${story.end} zero=${zero} name=${name}
            cursor=${cursor} />
      </svg>
   </div>
   ${isOpen && lane.children.map(child => html`<${LaneRow} key=${child.key} lane=${child}
      line=${line} depth=${depth + 1} open=${open} onToggle=${onToggle} story=${story} scale=${scale}
      zero=${zero} cursor=${cursor} onSelect=${onSelect} />`)}`;
}

/** @param {{ line: Line, step: number, scale: (t: number) => number, zero: number }} props */
function MarkRow({ line: { story, name }, step, scale, zero }) {
   const label = `${counted(story.marks.length, 'mark')}; the list of what happened has them all`;
   // They do not move with the cursor.
   return useMemo(() => html`<div class="lane marks">
      <div class="name"><span>${name && `${name}: `}What happened</span></div>
      <svg class="track" role="img" aria-label=${label}>${fewerMarks(story.marks, step).map((mark, i) => {
         const says = plain(`${instant(mark.t - zero)} ${mark.text}`);
         return html`<svg key=${i} x=${`${scale(mark.t)}%`} y="10" overflow="visible">
            <path class=${`m-${mark.kind}`} d=${markShapes[mark.kind]} data-says=${says}>
               <title>${says}</title></path></svg>`;
      })}</svg>
   </div>`, [story, step, zero, scale(story.start), scale(story.end)]);
}

const mostRows = 500;

/** The same as the picture, for those who do not see it.
 * @param {{ lanes: { line: Line, portClass: string, lane: Lane }[], zero: number }} props */
function TimeTable({ lanes, zero }) {
   const rows = lanes.flatMap(({ line, portClass, lane }) => [
      ...line.story.periods[portClass].map(
         span => ({ name: `${classWords[portClass]} ports`, span })),
      ...lane.children.flatMap(rangesIn).flatMap(
         ({ label, spans }) => spans.map(span => ({ name: label, span }))),
   ].map(({ name, span }) => ({ name: line.name ? `${line.name}: ${name}` : name, span })));
   const end = (/** @type {Span} */ { to, until }) => to !== null ? instant(to - zero)
      : typeof until === 'number' ? `${instant(until - zero)}, if nothing changes` : 'not yet';
   return html`<div class="scroll" tabindex="0" role="region" aria-label="Time line as a table">
      <table class="times">
      <thead><tr><th scope="col">Ports</th><th scope="col">What</th><th scope="col">From</th>
         <th scope="col">To</th><th scope="col">Why it ended</th></tr></thead>
      <tbody>${rows.slice(0, mostRows).map(({ name, span }, i) => html`<tr key=${i}>
         <th scope="row"><${Foreign}>${name}<//></th><td>${spanWords[span.kind] ?? span.kind}</td>
         <td class="number">${instant(span.from - zero)}</td><td class="number">${end(span)}</td>
         <td><${Foreign}>${span.why}<//></td></tr>`)}</tbody></table>
      ${rows.length > mostRows && html`<p class="small">And ${rows.length - mostRows} more.</p>`}
   </div>`;
}

/** The lanes of all lines, those of one class beside each other.
 * @param {Line[]} lines */
function lanesOfAll(lines) {
   const lanes = lines.map(line => lanesOf(line.story).map(lane => ({ line, ...lane })));
   return lanes[0].flatMap((_, i) => lanes.map(some => some[i]));
}

/** `cursor`: the time that is shown; `onCursor`: another one is chosen, if that can be.
 * @param {{ lines: Line[], cursor: number, zero: number, onCursor?: (t: number) => void,
 *           onSelect: (name: string) => void }} props */
export function TimeLine({ lines, cursor, zero, onCursor, onSelect }) {
   const [open, setOpen] = useState(() => new Set(/** @type {string[]} */ ([])));
   const [says, setSays] = useState('');
   const [isTable, setTable] = useState(false);
   const lanes = useMemo(() => lanesOfAll(lines), lines.map(({ story }) => story));
   const start = Math.min(...lines.map(({ story }) => story.start));
   const end = Math.max(...lines.map(({ story }) => story.end));
   const length = end - start;
   const knownFrom = lines[0].story.knownFrom;
   const scale = (/** @type {number} */ t) =>
      Math.min(100, Math.max(0, (t - start) / length * 100));
   const onToggle = (/** @type {string} */ key) => {
      const next = new Set(open);
      if (!next.delete(key)) {
         next.add(key);
      }
      setOpen(next);
   };
   const onClick = (/** @type {MouseEvent} */ event) => {
      // A finger cannot point.
      onOver(event);
      const track = /** @type {Element} */ (event.target).closest('.track');
      if (track && onCursor) {
         const { left, width } = track.getBoundingClientRect();
         onCursor(start + (event.clientX - left) / width * length);
      }
   };
   const onOver = (/** @type {Event} */ event) => {
      const item = /** @type {Element} */ (event.target).closest('[data-says]');
      setSays(item?.getAttribute('data-says') ?? '');
   };
   const isWithin = cursor >= start && cursor <= end;
   return html`<section class="card" id="time-line" aria-label="Time line">
      <div class="bar"><h2>Time line</h2>
         <button type="button" aria-pressed=${isTable ? 'true' : 'false'}
            onClick=${() => setTable(!isTable)}>Its times in a table</button></div>
      ${isTable && html`<${TimeTable} lanes=${lanes} zero=${zero} />`}
      <div class=${`timeline ${onCursor ? 'choosable' : ''}`} onClick=${onClick} onMouseOver=${onOver}>
         <div class="lane axis"><div class="name"></div><div class="ticks">
            ${ticksBetween(start - zero, end - zero, 7).filter(t => scale(t + zero) < mostLeft).map(t => html`
               <span key=${t} style=${{ left: `${scale(t + zero)}%` }}>${instant(t)}</span>`)}
         </div></div>
         ${lines.map(line => html`<${MarkRow} key=${line.name} line=${line} step=${length / steps}
            scale=${scale} zero=${zero} />`)}
         ${lanes.map(({ line, portClass, lane }) => html`<${LaneRow} key=${`${line.name} ${portClass}`}
            lane=${lane} line=${line.name} depth=${0} open=${open} onToggle=${onToggle} story=${line.story}
            scale=${scale} zero=${zero} cursor=${cursor} onSelect=${onSelect}
            periods=${line.story.periods[portClass]} />`)}
         <div class="over" aria-hidden="true"><div class="cursor" hidden=${!isWithin}
            style=${{ left: `${scale(cursor)}%` }}></div></div>
      </div>
      ${typeof knownFrom === 'number' && html`<p class="small">What was before
         ${' '}${instant(knownFrom - zero)} is not known.</p>`}
      <p class="small says"><${Foreign}>${says || 'Point at a bar or a mark for what it is.'}<//></p>
   </section>`;
}
