// The DataMatrix of a code, as it stands on the goods: to be scanned from the screen.

import {bwipp_datamatrix as encoder, bwipp_encode as encode} from './bwipp.js';
import {svg} from './dom.js';

// Codes of GS1 begin with FNC1: a scanner tells them from others by it.
const gs1 = /^01\d{14}21/;
const quiet = 2;  // modules around the symbol

/** The drawing, or null for a code that fits into no symbol. */
export function dataMatrix(code, label) {
  try {
    const [symbol] = encode(null, encoder, (gs1.test(code) ? '^FNC1' : '') + code.replaceAll('^', '^^'), {parsefnc: true}, true);
    const width = symbol.get('pixx');
    const height = symbol.get('pixy');
    const dark = [...symbol.get('pixs')].map((module, i) => (module ? `M${i % width} ${Math.floor(i / width)}h1v1h-1z` : '')).join('');
    return svg('svg', {class: 'symbol', role: 'img', 'aria-label': label, viewBox: `${-quiet} ${-quiet} ${width + 2 * quiet} ${height + 2 * quiet}`},
      svg('path', {d: dark}));
  } catch {
    return null;
  }
}
