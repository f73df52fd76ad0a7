import { describe, expect, it } from 'vitest';
import { escapeResult, formatSize, joinPath, parentFolder } from './modals';

describe('modal questions', () => {
  it('answer Escape as orvo says, and not at all when it says nothing', () => {
    expect([escapeResult({ escape: 'no' }), escapeResult({ escape: 'cancel' }), escapeResult({})]).toEqual(['no', 'cancel', null]);
  });

  it('join the chosen name to the folder shown, unless it is a full path', () => {
    const joined = [joinPath('/home/driver', 'drive.nmea'), joinPath('/', 'drive.nmea'), joinPath('/home/driver', '/tmp/x.nmea')];
    expect(joined).toEqual(['/home/driver/drive.nmea', '/drive.nmea', '/tmp/x.nmea']);
  });

  it('go up from the folder shown, down to the root', () => {
    expect([parentFolder('/home/driver/trips/'), parentFolder('/home'), parentFolder('/')]).toEqual(['/home/driver', '/', '/']);
  });

  it('show sizes in bytes, KB and MB', () => {
    expect([formatSize(512), formatSize(2048), formatSize(5 * 1024 * 1024)]).toEqual(['512 bytes', '2.0 KB', '5.0 MB']);
  });
});
