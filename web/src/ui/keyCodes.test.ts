import { describe, expect, it } from 'vitest';
import { virtualKeyCode } from './keyCodes';

describe('virtual-key codes', () => {
  it('come from the physical key, whatever keyCode the browser gives', () => {
    // [code, the browser's keyCode, the virtual-key code]: Firefox gives 61 and 173 for "=" and "-".
    const cases: [string, number, number][] = [
      ['Equal', 61, 187], ['Minus', 173, 189], ['Equal', 187, 187], ['Comma', 188, 188], ['Period', 190, 190],
      ['NumpadAdd', 107, 107], ['NumpadSubtract', 109, 109], ['KeyG', 71, 71], ['Digit1', 49, 49],
      ['Numpad4', 100, 100], ['F5', 116, 116], ['F7', 118, 118], ['PageUp', 33, 33], ['', 229, 229],
    ];
    for (const [code, keyCode, expected] of cases) expect([code, virtualKeyCode({ code, keyCode })]).toEqual([code, expected]);
  });
});
