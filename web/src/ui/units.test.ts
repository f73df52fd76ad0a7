import { describe, expect, it } from 'vitest';
import { cssColour, fractionOfValue, mouseButton, shiftBits, steppedValue, twipsToPixels, valueAtFraction } from './units';

describe('units of the windows', () => {
  it('turn twips into CSS pixels, 15 to a pixel', () => {
    expect(twipsToPixels(1440)).toBe(96);
    expect(twipsToPixels(7)).toBeCloseTo(0.4667, 3);
    expect(twipsToPixels(undefined)).toBe(0);
    expect(twipsToPixels('120')).toBe(0);
  });

  it('give shift states and mouse buttons the windows’ bits', () => {
    expect(shiftBits({ shiftKey: true, ctrlKey: false, altKey: false })).toBe(1);
    expect(shiftBits({ shiftKey: true, ctrlKey: true, altKey: true })).toBe(7);
    expect([mouseButton(0), mouseButton(2), mouseButton(1)]).toEqual([1, 2, 4]);
  });

  it('accept only #rrggbb colours', () => {
    expect(cssColour('#80ffff')).toBe('#80ffff');
    expect(cssColour('')).toBe('');
    expect(cssColour('red; background: url(x)')).toBe('');
  });
});

describe('scroll bars', () => {
  it('step by the small or large change, stop at the ends, and work the other way round when min is above max', () => {
    // [value, min, max, change, up, the value after the step]
    const steps = [[2, 0, 10, 1, true, 3], [2, 0, 10, 5, false, 0], [10, 0, 10, 1, true, 10], [5, 10, 0, 1, true, 4], [10, 10, 0, 1, false, 10]] as const;
    for (const [value, min, max, change, up, after] of steps)
      expect(steppedValue(value, min, max, change, up), `${value} ${up ? 'up' : 'down'} in ${min}..${max}`).toBe(after);
  });

  it('map the thumb position to whole values within the range, and back, either way round', () => {
    expect([valueAtFraction(0, 10, 0.26), valueAtFraction(0, 10, 1.7), valueAtFraction(10, 0, 1)]).toEqual([3, 10, 0]);
    expect([fractionOfValue(5, 0, 10), fractionOfValue(3, 3, 3), fractionOfValue(10, 10, 0)]).toEqual([0.5, 0, 0]);
  });
});
