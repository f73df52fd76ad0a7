// ORVO's pushpin symbols, drawn here rather than downloaded: eight shapes in eight colours
// (0–63), a stop sign (65), arrows (120–131) and a neutral pin for any other number. One
// geometry feeds both the map's sprite atlas (canvas) and the dialogs' images (SVG).

// Symbols are laid out in a 32 × 32 box centred on (16, 16).
const BOX = 32;
const OUTLINE = '#15191e';
const OUTLINE_WIDTH = 2.2;

export const SHAPES = ['circle', 'square', 'triangle', 'diamond', 'star', 'flag', 'pin', 'cross'] as const;
export type Shape = (typeof SHAPES)[number];

// Fix-state offsets 0, 1, 2 and 6 read like the state lamp: grey, red, yellow, green.
export const COLOURS = [
  ['grey', '#8e969f'],
  ['red', '#e3262d'],
  ['yellow', '#ffd51a'],
  ['blue', '#2a66e0'],
  ['cyan', '#21d0df'],
  ['magenta', '#d23bd4'],
  ['green', '#1fb24a'],
  ['white', '#ffffff'],
] as const;

const ARROW_FILL = '#ff8a1c';
const DEFAULT_FILL = '#5d6b7e';

// Bearings of the arrows in degrees. 124–127 repeat 120–123 (N, S, W, E) and are drawn hollow,
// so that a symbol number never silently turns into something else.
const ARROW_BEARINGS: Record<number, number> = {
  120: 0, 121: 180, 122: 270, 123: 90,
  124: 0, 125: 180, 126: 270, 127: 90,
  128: 45, 129: 315, 130: 135, 131: 225,
};

export type Part =
  | { kind: 'polygon'; points: number[]; fill: string }
  | { kind: 'circle'; cx: number; cy: number; r: number; fill: string };

export interface Drawing {
  // Filled parts, in order; all of them share one dark outline drawn beneath.
  parts: Part[];
  // Extra strokes on top (the stop sign's white rim): polygon, colour, width.
  lines: { points: number[]; colour: string; width: number }[];
  // The symbol's point touches the location at its bottom centre instead of its middle.
  pointsDown: boolean;
}

// Atlas cells: 0–63 as they are, then the stop sign, the arrows, and the default pin.
export const ATLAS_COLUMNS = 16;
export const DEFAULT_CELL = 77;
export const CELL_COUNT = 78;

export function atlasCell(symbol: number): number {
  if (Number.isInteger(symbol) && symbol >= 0 && symbol < 64) return symbol;
  if (symbol === 65) return 64;
  if (Number.isInteger(symbol) && symbol >= 120 && symbol <= 131) return 65 + symbol - 120;
  return DEFAULT_CELL;
}

function regular(n: number, r: number, rotation: number, cx = 16, cy = 16): number[] {
  const points: number[] = [];
  for (let i = 0; i < n; i++) {
    const a = rotation + (i * 2 * Math.PI) / n;
    points.push(cx + r * Math.sin(a), cy - r * Math.cos(a));
  }
  return points;
}

function star(cx: number, cy: number, outer: number, inner: number): number[] {
  const points: number[] = [];
  for (let i = 0; i < 10; i++) {
    const a = (i * Math.PI) / 5;
    const r = i % 2 === 0 ? outer : inner;
    points.push(cx + r * Math.sin(a), cy - r * Math.cos(a));
  }
  return points;
}

function rotate(points: number[], degrees: number): number[] {
  const a = (degrees * Math.PI) / 180;
  const c = Math.cos(a);
  const s = Math.sin(a);
  const out: number[] = [];
  for (let i = 0; i < points.length; i += 2) {
    const x = points[i] - 16;
    const y = points[i + 1] - 16;
    // Clockwise on screen, where y grows downwards.
    out.push(16 + x * c - y * s, 16 + x * s + y * c);
  }
  return out;
}

const poly = (points: number[], fill: string): Part => ({ kind: 'polygon', points, fill });

function shapeParts(shape: Shape, fill: string): Part[] {
  switch (shape) {
    case 'circle':
      return [{ kind: 'circle', cx: 16, cy: 16, r: 11, fill }];
    case 'square':
      return [poly([6, 6, 26, 6, 26, 26, 6, 26], fill)];
    case 'triangle':
      return [poly([16, 3.5, 28.5, 26.5, 3.5, 26.5], fill)];
    case 'diamond':
      return [poly([16, 2.5, 29.5, 16, 16, 29.5, 2.5, 16], fill)];
    case 'star':
      return [poly(star(16, 17, 14, 5.8), fill)];
    case 'flag':
      return [poly([7, 3, 10, 3, 10, 29, 7, 29], OUTLINE), poly([10, 4, 27, 8.5, 10, 16], fill)];
    case 'pin':
      return [poly([11.5, 15, 20.5, 15, 16, 30.5], OUTLINE), { kind: 'circle', cx: 16, cy: 10.5, r: 8.5, fill }];
    case 'cross':
      return [poly([12, 4, 20, 4, 20, 12, 28, 12, 28, 20, 20, 20, 20, 28, 12, 28, 12, 20, 4, 20, 4, 12, 12, 12], fill)];
  }
}

// An arrow pointing up (north), rotated to its bearing.
const ARROW = [16, 2.2, 28, 14.5, 20, 14.5, 20, 27.5, 12, 27.5, 12, 14.5, 4, 14.5];

export function symbolDrawing(symbol: number): Drawing {
  const cell = atlasCell(symbol);
  if (cell < 64) {
    const shape = SHAPES[Math.floor(cell / 8)];
    return { parts: shapeParts(shape, COLOURS[cell % 8][1]), lines: [], pointsDown: shape === 'pin' };
  }
  if (cell === 64) {
    const rim = regular(8, 11.2, Math.PI / 8);
    return {
      parts: [poly(regular(8, 13.5, Math.PI / 8), '#d7151d'), poly([8.5, 14, 23.5, 14, 23.5, 18, 8.5, 18], '#ffffff')],
      lines: [{ points: rim, colour: '#ffffff', width: 1.4 }],
      pointsDown: false,
    };
  }
  if (cell < DEFAULT_CELL) {
    const bearing = ARROW_BEARINGS[symbol];
    return { parts: [poly(rotate(ARROW, bearing), symbol >= 124 && symbol <= 127 ? '#ffffff' : ARROW_FILL)], lines: [], pointsDown: false };
  }
  const pin = shapeParts('pin', DEFAULT_FILL);
  return { parts: [...pin, { kind: 'circle', cx: 16, cy: 10.5, r: 3, fill: '#ffffff' }], lines: [], pointsDown: true };
}

// The symbol's fill colour (its body, not the outline), for dialogs and tests.
export function symbolColour(symbol: number): string {
  const parts = symbolDrawing(symbol).parts;
  return (parts.find((part) => part.fill !== OUTLINE) ?? parts[0]).fill;
}

function pathData(part: Part): string {
  if (part.kind === 'circle') {
    const { cx, cy, r } = part;
    return `M${cx - r} ${cy}a${r} ${r} 0 1 0 ${2 * r} 0a${r} ${r} 0 1 0 ${-2 * r} 0Z`;
  }
  const p = part.points.map((v) => Math.round(v * 100) / 100);
  let d = `M${p[0]} ${p[1]}`;
  for (let i = 2; i < p.length; i += 2) d += `L${p[i]} ${p[i + 1]}`;
  return `${d}Z`;
}

export function symbolSvg(symbol: number, sizePx = BOX): string {
  const drawing = symbolDrawing(symbol);
  const under = drawing.parts
    .map((part) => `<path d="${pathData(part)}" fill="${OUTLINE}" stroke="${OUTLINE}" stroke-width="${OUTLINE_WIDTH * 2}" stroke-linejoin="round"/>`)
    .join('');
  const fills = drawing.parts.map((part) => `<path d="${pathData(part)}" fill="${part.fill}"/>`).join('');
  const lines = drawing.lines
    .map((line) => `<path d="${pathData(poly(line.points, ''))}" fill="none" stroke="${line.colour}" stroke-width="${line.width}"/>`)
    .join('');
  return `<svg xmlns="http://www.w3.org/2000/svg" width="${sizePx}" height="${sizePx}" viewBox="0 0 ${BOX} ${BOX}">${under}${fills}${lines}</svg>`;
}

// The symbol as an image for dialogs (the trace settings show the eight shapes).
export function symbolImage(symbol: number, sizePx: number): string {
  return `data:image/svg+xml;charset=utf-8,${encodeURIComponent(symbolSvg(symbol, sizePx))}`;
}

function tracePath(context: CanvasRenderingContext2D, part: Part | { kind: 'polygon'; points: number[] }): void {
  context.beginPath();
  if (part.kind === 'circle') {
    context.arc(part.cx, part.cy, part.r, 0, 2 * Math.PI);
  } else {
    context.moveTo(part.points[0], part.points[1]);
    for (let i = 2; i < part.points.length; i += 2) context.lineTo(part.points[i], part.points[i + 1]);
  }
  context.closePath();
}

// Draws the symbol into the square (x, y, size) of a canvas.
export function drawSymbol(context: CanvasRenderingContext2D, symbol: number, x: number, y: number, size: number): void {
  const drawing = symbolDrawing(symbol);
  context.save();
  context.translate(x, y);
  context.scale(size / BOX, size / BOX);
  context.lineJoin = 'round';
  context.strokeStyle = OUTLINE;
  context.fillStyle = OUTLINE;
  context.lineWidth = OUTLINE_WIDTH * 2;
  for (const part of drawing.parts) {
    tracePath(context, part);
    context.fill();
    context.stroke();
  }
  for (const part of drawing.parts) {
    context.fillStyle = part.fill;
    tracePath(context, part);
    context.fill();
  }
  for (const line of drawing.lines) {
    context.strokeStyle = line.colour;
    context.lineWidth = line.width;
    tracePath(context, { kind: 'polygon', points: line.points });
    context.stroke();
  }
  context.restore();
}

// Where each cell sits in the atlas: cells are `cellPx` square with a transparent texel
// between them, so that smoothing never borrows from a neighbour.
export interface Atlas {
  canvas: HTMLCanvasElement;
  cellPx: number;
  stride: number;
  pixelRatio: number;
}

// The display size of a pin in CSS pixels.
export const PIN_SIZE = 22;

// A symbol that each cell draws.
export const CELL_SYMBOLS: number[] = Array.from({ length: CELL_COUNT }, (_, cell) =>
  cell < 64 ? cell : cell === 64 ? 65 : cell < DEFAULT_CELL ? 120 + cell - 65 : -1,
);

export function atlasOrigin(cell: number, stride: number): [number, number] {
  return [1 + (cell % ATLAS_COLUMNS) * stride, 1 + Math.floor(cell / ATLAS_COLUMNS) * stride];
}

export function buildAtlas(pixelRatio: number, doc: Document = document): Atlas {
  const cellPx = Math.round(PIN_SIZE * pixelRatio);
  const stride = cellPx + 2;
  const canvas = doc.createElement('canvas');
  canvas.width = ATLAS_COLUMNS * stride + 1;
  canvas.height = Math.ceil(CELL_COUNT / ATLAS_COLUMNS) * stride + 1;
  const context = canvas.getContext('2d');
  if (!context) throw new Error('no 2D canvas for the pushpin symbols');
  CELL_SYMBOLS.forEach((symbol, cell) => {
    const [x, y] = atlasOrigin(cell, stride);
    drawSymbol(context, symbol, x, y, cellPx);
  });
  return { canvas, cellPx, stride, pixelRatio };
}
