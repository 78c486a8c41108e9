// SPDX-License-Identifier: Apache-2.0
// Copyright 2026 The MlagOstra authors

// What is asked of a live host: how it stands, what it has recorded, what would become of it.

import { mostRecords } from './records.js';

/** @typedef {import('./model.js').StreamRecord} StreamRecord */

/** In milliseconds. */
const longestAnswer = 4000;
/** What is long comes over a slow link too. */
const longestHistory = 60000;
/** What a forecast may take, and a little more. */
const longestForecast = 60000;

/** Of one that is busy with another's. */
const mostTries = 5;

/** The host is there and does not answer what it was asked. `wait`: in seconds, after which it
 * wants to be asked again; null: it does not say. */
export class Refusal extends Error {
   /** @param {number} status @param {string} words @param {number|null} wait */
   constructor(status, words, wait) {
      super(words);
      this.status = status;
      this.wait = wait;
   }
}

/** Nothing was answered, for which each browser has words of its own. */
export class Unreachable extends Error {
   constructor() {
      super('the host does not answer; the connection may be lost');
   }
}

/** What the host, or something between, has to say of it.
 * @param {Response} response @param {string} text */
function complaintOf(response, text) {
   try {
      const { where, found, expected } = JSON.parse(text).error;
      return `${where}: ${found}: expected ${expected}`;
   } catch (error) {
      return `the host did not answer (${response.status} ${response.statusText})`;
   }
}

/** @param {string} path @param {number} longest in milliseconds @param {RequestInit} [more]
 * @returns {Promise<Response>} what was answered; throws a Refusal, or what fetch() throws */
async function answerOf(path, longest, more = {}) {
   const response = await fetch(path, { signal: AbortSignal.timeout(longest), ...more });
   if (!response.ok) {
      const wait = Number(response.headers.get('Retry-After')) || null;
      throw new Refusal(response.status, complaintOf(response, await response.text()), wait);
   }
   return response;
}

/** @param {Response} response a record a line @returns {Promise<StreamRecord[]>} */
const recordsIn = async response => (await response.text()).split('\n')
   .filter(line => line).map(line => JSON.parse(line));

/** The same request as the browser makes by itself when the host tells it what to load beforehand:
 * without the header Origin, which something between may make another one's.
 * @type {RequestInit} */
const asLoadedBefore = { mode: 'no-cors', credentials: 'include' };

/** The summary, the ports and the alarms, as the host tells them. @returns {Promise<any[]>} */
export const standing = () => Promise.all(['summary', 'ports', 'alarms'].map(
   async name => (await answerOf(`/v1/${name}`, longestAnswer, asLoadedBefore)).json()));

/** The first of the records behind that one.
 * @param {number} since @param {number} [limit] @returns {Promise<StreamRecord[]>} */
export const history = async (since, limit = mostRecords) => recordsIn(
   await answerOf(`/v1/history?since=${since}&limit=${limit}`, longestHistory));

/** The newest records before that one, some thousands; none: there are none. Numbers have gaps.
 * @param {number} seq @param {number} most @returns {Promise<StreamRecord[]>} */
export async function historyBefore(seq, most) {
   let since = seq - 1;
   for (let stride = mostRecords; since > 0; stride *= 2) {
      since = Math.max(0, since - stride);
      const records = [];
      for (let isMore = true, from = since; isMore; from = records[records.length - 1]?.seq ?? 0) {
         const page = (await history(from)).filter(record => (record.seq ?? 0) < seq);
         records.push(...page);
         isMore = page.length === mostRecords && records.length < most;
      }
      if (records.length) {
         return records;
      }
   }
   return [];
}

/** @param {number} since the number of a record, behind which the stream begins */
const eventsPath = since => `/v1/events?since=${since}`;
/** @param {number} since */
export const eventsSince = since => new EventSource(eventsPath(since));

/** Why there is no stream, which the browser knows and does not tell. Throws a Refusal, or what
 * fetch() throws; there may be a stream by now.
 * @param {number} since */
export async function askForEvents(since) {
   const response = await answerOf(eventsPath(since), longestAnswer);
   await response.body?.cancel();
}

/** In seconds. @param {number} seconds */
const passed = seconds => new Promise(resolve => setTimeout(resolve, seconds * 1000));

/** What the host would do from now on. One that is made for somebody else is waited for.
 * @param {{ patch?: any, until?: number }} question without a patch nothing is changed
 * @returns {Promise<StreamRecord[]>} throws a Refusal, or that it is Unreachable */
export async function forecast(question) {
   for (let tries = 1; ; ++tries) {
      try {
         return await recordsIn(await answerOf('/v1/forecast', longestForecast, {
            method: 'POST',
            headers: { 'Content-Type': 'application/json' },
            body: JSON.stringify(question),
         }));
      } catch (error) {
         if (!(error instanceof Refusal)) {
            throw new Unreachable();
         }
         if (error.status !== 503 || error.wait === null || tries === mostTries) {
            throw error;
         }
         await passed(error.wait);
      }
   }
}
