// Compares `orvo declination` with geomagnetism, an independent JavaScript implementation of the
// World Magnetic Model that carries the same WMM2025 coefficients (and reports unrounded values).
import assert from 'node:assert/strict';
import { spawnSync } from 'node:child_process';
import path from 'node:path';
import { test } from 'node:test';
import { fileURLToPath } from 'node:url';

import geomagnetism from 'geomagnetism';

const repoRoot = path.resolve(path.dirname(fileURLToPath(import.meta.url)), '..', '..');
const binary = path.resolve(repoRoot, process.env.ORVO_BINARY ?? 'build/orvo');

// Both programs print or compute far finer than this; a wrong term or sign shows up as tenths of
// a degree or more.
const toleranceDegrees = 0.01;

function runOrvo(args, input) {
  const result = spawnSync(binary, ['declination', ...args], { input, encoding: 'utf8' });
  assert.equal(result.error, undefined, `cannot run ${binary}: ${result.error}`);
  return result;
}

// geomagnetism takes a Date and turns it into year + elapsed ms / (365 days); this Date gives back
// exactly the decimal year wanted.
function dateForDecimalYear(decimalYear) {
  const year = Math.floor(decimalYear);
  return new Date(Date.UTC(year, 0, 1) + (decimalYear - year) * 365 * 86400000);
}

function referenceModel(decimalYear) {
  return geomagnetism.model(dateForDecimalYear(decimalYear));
}

// Batch mode answers one line per input line, in order.
function orvoBatch(points) {
  const input = points.map((p) => `${p.lat} ${p.lon} ${p.year} ${p.altitudeKm}`).join('\n') + '\n';
  const result = runOrvo(['--batch'], input);
  assert.equal(result.status, 0, result.stderr);
  const lines = result.stdout.trim().split('\n');
  assert.equal(lines.length, points.length);
  return lines.map(Number);
}

function compare(points) {
  const ours = orvoBatch(points);
  const failures = [];
  let worst = 0;
  points.forEach((p, index) => {
    const reference = referenceModel(p.year).point([p.lat, p.lon, p.altitudeKm]).decl;
    const difference = Math.abs(ours[index] - reference);
    worst = Math.max(worst, difference);
    if (!(difference < toleranceDegrees))
      failures.push(`${p.lat} ${p.lon} ${p.year} ${p.altitudeKm}: orvo ${ours[index]}, ` +
                    `reference ${reference.toFixed(4)}`);
  });
  assert.deepEqual(failures, [], `worst difference ${worst}`);
}

test('the reference carries the WMM2025 coefficients', () => {
  const model = referenceModel(2027.5);
  assert.equal(model.name, 'WMM-2025');
  assert.equal(model.epoch, 2025);
});

test('declination agrees over the globe, the model years and a few altitudes', () => {
  const points = [];
  // 2028 is a leap year; the last date stays before the reference's own cut-off of 2029-11-13.
  for (const year of [2025.0, 2026.25, 2027.5, 2028.9, 2029.6])
    for (const altitudeKm of [0, 2.5, 12])
      for (let lat = -80; lat <= 80; lat += 10)
        for (let lon = -180; lon <= 180; lon += 30) points.push({ lat, lon, year, altitudeKm });
  compare(points);
});

test('declination agrees at and next to the geographic poles', () => {
  const points = [];
  for (const lat of [-90, -89.999, 89.999, 90])
    for (const lon of [-135, 0, 45, 170]) points.push({ lat, lon, year: 2026.5, altitudeKm: 0 });
  compare(points);
});

test('civil dates are turned into the same instant', () => {
  for (const date of ['2025-01-01', '2026-07-02T12:00:00', '2028-02-29T06:30:00',
                      '2028-12-31T23:59:59']) {
    const result = runOrvo(['47.6', '-122.3', '--date', date]);
    assert.equal(result.status, 0, result.stderr);
    const when = new Date(date.length === 10 ? `${date}T00:00:00Z` : `${date}Z`);
    const year = when.getUTCFullYear();
    const start = Date.UTC(year, 0, 1);
    const decimalYear = year + (when - start) / (Date.UTC(year + 1, 0, 1) - start);
    const reference = referenceModel(decimalYear).point([47.6, -122.3, 0]).decl;
    assert.ok(Math.abs(Number(result.stdout) - reference) < toleranceDegrees,
              `${date}: orvo ${result.stdout.trim()}, reference ${reference.toFixed(4)}`);
  }
});
