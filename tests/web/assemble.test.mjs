// SPDX-License-Identifier: Apache-2.0
// Copyright 2026 The MlagOstra authors

// How the modules become one script: what that would break without a word is refused.

import assert from 'node:assert/strict';
import { spawnSync } from 'node:child_process';
import { appendFileSync, cpSync, mkdtempSync, readFileSync, rmSync } from 'node:fs';
import { tmpdir } from 'node:os';
import { join } from 'node:path';
import { test } from 'node:test';

const web = new URL('../../host/web/', import.meta.url).pathname;

/** Puts together a copy of the page in which something stands at the end of a module. */
function assembled(t, module, more) {
   const directory = mkdtempSync(join(tmpdir(), 'ostra-assemble-'));
   t.after(() => rmSync(directory, { recursive: true }));
   cpSync(web, directory, { recursive: true });
   appendFileSync(join(directory, module), more);
   const output = join(directory, 'Page.cpp');
   const { status, stderr } = spawnSync('cmake', ['-D', `SOURCES=${directory}`, '-D',
      `OUTPUT=${output}`, '-P', join(directory, 'assemble.cmake')], { encoding: 'utf8' });
   return { status, stderr, page: status === 0 ? readFileSync(output, 'utf8') : '' };
}

test('Assemble.RefusesWhatWouldBeLost', t => {
   assert.equal(assembled(t, 'story.js', '').status, 0);
   for (const [more, words] of [
      ['\nfunction layoutOf() {}\n', 'layoutOf is the name of something in'],
      ['\nimport {\n   html } from \'./parts.js\';\n', 'an import is longer than a line'],
      ['\n/** A comment. **/\n', 'a comment ends with more than one'],
   ]) {
      const { status, stderr } = assembled(t, 'story.js', more);
      assert.notEqual(status, 0, more);
      assert.ok(stderr.replace(/\s+/g, ' ').includes(words), stderr);
   }
});

test('Assemble.EndsOfLinesMakeNoDifference', t => {
   const [unix, dos] = ['\nconst a1 = 1;\n', '\r\nconst a1 = 1;\r\n'].map(
      more => assembled(t, 'story.js', more).page);
   assert.ok(unix.includes('sha256-'));
   assert.equal(dos, unix);
});
