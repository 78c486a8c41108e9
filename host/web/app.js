// SPDX-License-Identifier: Apache-2.0
// Copyright 2026 The MlagOstra authors

// The page: a live host, or a run with whose records it was made.

import { ComparePage } from './comparepage.js';
import { Live } from './live.js';
import { LivePage } from './livepage.js';
import { plain } from './model.js';
import { html, render } from './parts.js';
import { recordedOf } from './recorded.js';
import { RecordedPage } from './runpage.js';

function show() {
   const page = /** @type {HTMLElement} */ (document.getElementById('page'));
   const text = document.getElementById('records')?.textContent ?? '';
   if (text.trim()) {
      const [recorded, other] = recordedOf(text);
      document.title = plain(recorded.name) || 'A reload';
      render(other ? html`<${ComparePage} runs=${[recorded, other]} />`
         : html`<${RecordedPage} recorded=${recorded} />`, page);
      return;
   }
   // Somebody may have both switches of a pair open.
   document.title = `${location.host}, ostra`;
   const live = new Live(() => {});
   render(html`<${LivePage} live=${live} />`, page);
   live.start();
   document.addEventListener('visibilitychange', () => live.pause(document.hidden));
}

// The records come last, so that those of a run that was cut off are shown up to there.
document.addEventListener('DOMContentLoaded', show);
