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
  it('step by the small or large change and stop at the ends', () => {
    expect(steppedValue(2, 0, 10, 1, true)).toBe(3);
    expect(steppedValue(2, 0, 10, 5, false)).toBe(0);
    expect(steppedValue(10, 0, 10, 1, true)).toBe(10);
  });

  it('work the other way round when min is above max', () => {
    expect(steppedValue(5, 10, 0, 1, true)).toBe(4);
    expect(steppedValue(10, 10, 0, 1, false)).toBe(10);
    expect(fractionOfValue(10, 10, 0)).toBe(0);
    expect(valueAtFraction(10, 0, 1)).toBe(0);
  });

  it('map the thumb position to whole values within the range', () => {
    expect(valueAtFraction(0, 10, 0.26)).toBe(3);
    expect(valueAtFraction(0, 10, 1.7)).toBe(10);
    expect(fractionOfValue(5, 0, 10)).toBe(0.5);
    expect(fractionOfValue(3, 3, 3)).toBe(0);
  });
});
