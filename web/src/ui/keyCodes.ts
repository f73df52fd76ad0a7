// Windows virtual-key codes, which orvo's windows expect, from the physical key the browser
// reports. Browsers disagree on `keyCode` for some keys (Firefox gives 61 and 173 for "=" and
// "-"), so the code of the key decides, the same in every browser.
const PUNCTUATION: Record<string, number> = {
  Semicolon: 186,
  Equal: 187,
  Comma: 188,
  Minus: 189,
  Period: 190,
  Slash: 191,
  Backquote: 192,
  BracketLeft: 219,
  Backslash: 220,
  BracketRight: 221,
  Quote: 222,
  NumpadMultiply: 106,
  NumpadAdd: 107,
  NumpadSubtract: 109,
  NumpadDecimal: 110,
  NumpadDivide: 111,
};

export function virtualKeyCode(event: { code: string; keyCode: number }): number {
  const { code } = event;
  if (code in PUNCTUATION) return PUNCTUATION[code];
  if (/^Key[A-Z]$/.test(code)) return code.charCodeAt(3);
  if (/^Digit[0-9]$/.test(code)) return code.charCodeAt(5);
  if (/^Numpad[0-9]$/.test(code)) return 96 + Number(code.slice(6));
  if (/^F([1-9]|1[0-9]|2[0-4])$/.test(code)) return 111 + Number(code.slice(1));
  // Page Up and Down, arrows, Enter and the like agree in every browser.
  return event.keyCode;
}
