// Controls are laid out in twips, 15 to a CSS pixel; windows in CSS pixels.
export const TWIPS_PER_PIXEL = 15;

export function twipsToPixels(twips: unknown): number {
  const value = typeof twips === 'number' && Number.isFinite(twips) ? twips : 0;
  return value / TWIPS_PER_PIXEL;
}

export function pixelsToTwips(pixels: number): number {
  return Math.round(pixels * TWIPS_PER_PIXEL);
}

// Shift state as the windows expect it: Shift 1, Ctrl 2, Alt 4.
export function shiftBits(event: { shiftKey: boolean; ctrlKey: boolean; altKey: boolean }): number {
  return (event.shiftKey ? 1 : 0) | (event.ctrlKey ? 2 : 0) | (event.altKey ? 4 : 0);
}

// Mouse buttons as the windows expect them: left 1, right 2, middle 4.
export function mouseButton(domButton: number): number {
  if (domButton === 2) return 2;
  if (domButton === 1) return 4;
  return 1;
}

// A scroll bar's next value for a press on an arrow (±small change) or the track (±large
// change), kept within its range; min may be above max, as on the old scroll bars.
export function steppedValue(
  value: number,
  min: number,
  max: number,
  step: number,
  towardsMax: boolean,
): number {
  const direction = (max >= min ? 1 : -1) * (towardsMax ? 1 : -1);
  const next = value + direction * Math.abs(step);
  return Math.min(Math.max(next, Math.min(min, max)), Math.max(min, max));
}

// The value of a scroll bar whose thumb sits at `fraction` (0 at the min end, 1 at max).
export function valueAtFraction(min: number, max: number, fraction: number): number {
  const clamped = Math.min(Math.max(fraction, 0), 1);
  return Math.round(min + (max - min) * clamped);
}

// Where the thumb sits for a value: 0 at min, 1 at max.
export function fractionOfValue(value: number, min: number, max: number): number {
  if (max === min) return 0;
  return Math.min(Math.max((value - min) / (max - min), 0), 1);
}

// "#rrggbb", or '' (transparent) for anything that is not a colour.
export function cssColour(value: unknown): string {
  return typeof value === 'string' && /^#[0-9a-fA-F]{6}$/.test(value) ? value : '';
}
