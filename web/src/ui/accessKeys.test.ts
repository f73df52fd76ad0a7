import { describe, expect, it } from 'vitest';
import { accessKeyOf, parseCaption } from './accessKeys';

describe('captions with access keys', () => {
  it('underline the letter after & and drop the marker', () => {
    expect(parseCaption('Orvo&net')).toEqual({ text: 'Orvonet', index: 4, key: 'n' });
    expect(parseCaption('&GPS Start')).toEqual({ text: 'GPS Start', index: 0, key: 'g' });
    expect(parseCaption('S&atellite').key).toBe('a');
  });

  it('keep && as an ampersand, use only the first marker, and accept captions without one', () => {
    expect(parseCaption('Pins && &Routes')).toEqual({ text: 'Pins & Routes', index: 7, key: 'r' });
    expect(parseCaption('&One &Two')).toEqual({ text: 'One Two', index: 0, key: 'o' });
    expect(parseCaption('Speed:')).toEqual({ text: 'Speed:', index: -1, key: '' });
    expect(parseCaption('Trailing&')).toEqual({ text: 'Trailing', index: -1, key: '' });
    expect(parseCaption('')).toEqual({ text: '', index: -1, key: '' });
  });

  it('are picked by Alt with the letter, whatever the layout makes of it', () => {
    expect(accessKeyOf({ altKey: true, ctrlKey: false, key: 'ñ', code: 'KeyN' })).toBe('n');
    expect(accessKeyOf({ altKey: true, ctrlKey: false, key: 'F' })).toBe('f');
    expect(accessKeyOf({ altKey: true, ctrlKey: true, key: 'n', code: 'KeyN' })).toBe('');
    expect(accessKeyOf({ altKey: false, ctrlKey: false, key: 'n', code: 'KeyN' })).toBe('');
    expect(accessKeyOf({ altKey: true, ctrlKey: false, key: 'F5', code: 'F5' })).toBe('');
  });
});
