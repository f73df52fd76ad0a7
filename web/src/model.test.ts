import { describe, expect, it } from 'vitest';
import { applyMessage, emptyModel, keepLastLines, keyTarget } from './model';
import type { ServerMessage, WindowSnapshot } from './protocol';

function window(name: string): WindowSnapshot {
  const controls = [{ id: 'lblSpeed(0)', properties: { kind: 'Label', caption: '0' } }];
  return { name, caption: name, left: 0, top: 0, width: 100, height: 100, visible: true, topMost: false, borderless: false, controls };
}

function snapshot(...windows: WindowSnapshot[]): ServerMessage {
  return { type: 'snapshot', windows, commands: [{ id: 'orvonet', caption: 'Orvo&net' }] };
}

describe('the page’s model of the desktop', () => {
  it('starts over from each snapshot', () => {
    const model = emptyModel();
    applyMessage(model, snapshot(window('frmAddIn'), window('frmGuide')));
    applyMessage(model, { type: 'modal', id: 1, kind: 'message', title: 'ORVO', prompt: '?', buttons: 'okOnly' });
    expect(applyMessage(model, snapshot(window('frmGuide')))).toEqual({ kind: 'all' });
    expect([...model.windows.keys()]).toEqual(['frmGuide']);
    expect(model.modals).toEqual([]);
    expect(model.commands).toEqual([{ id: 'orvonet', caption: 'Orvo&net' }]);
  });

  it('patches controls and windows, and ignores what it does not know', () => {
    const model = emptyModel();
    applyMessage(model, snapshot(window('frmAddIn')));
    expect(
      applyMessage(model, { type: 'set', window: 'frmAddIn', control: 'lblSpeed(0)', property: 'caption', value: '47.3' }),
    ).toEqual({ kind: 'control', window: 'frmAddIn', control: 'lblSpeed(0)', property: 'caption' });
    expect(model.windows.get('frmAddIn')?.controls.get('lblSpeed(0)')?.caption).toBe('47.3');
    for (const line of ['a\r\n', 'b\r\n', 'c\r\n'])
      applyMessage(model, { type: 'set', window: 'frmAddIn', control: 'lblSpeed(0)', property: 'log', append: line, keepLines: 2 });
    expect(model.windows.get('frmAddIn')?.controls.get('lblSpeed(0)')?.log).toBe('b\r\nc\r\n');
    applyMessage(model, { type: 'window', window: 'frmAddIn', property: 'left', value: 40 });
    expect(model.windows.get('frmAddIn')?.properties.left).toBe(40);
    expect(applyMessage(model, { type: 'set', window: 'frmNone', control: 'x', property: 'a', value: 1 }).kind).toBe('ignored');
    expect(applyMessage(model, { type: 'set', window: 'frmAddIn', control: 'x', property: 'a', value: 1 }).kind).toBe('ignored');
    expect(applyMessage(model, { type: 'launch' } as unknown as ServerMessage).kind).toBe('ignored');
    expect(applyMessage(model, 'text' as unknown as ServerMessage).kind).toBe('ignored');
  });

  it('sends keys to the window last used, else the main window', () => {
    const model = emptyModel();
    applyMessage(model, snapshot(window('frmAddIn'), window('frmGuide')));
    expect(keyTarget(model, null)).toBe('frmAddIn');
    expect(keyTarget(model, 'frmGuide')).toBe('frmGuide');
    applyMessage(model, { type: 'close', window: 'frmGuide' });
    expect(keyTarget(model, 'frmGuide')).toBe('frmAddIn');
    applyMessage(model, { type: 'close', window: 'frmAddIn' });
    expect(keyTarget(model, 'frmGuide')).toBeNull();
  });

  it('keeps the last lines of appended text by the same rule as orvo', () => {
    const cases: [string, number, string][] = [
      ['', 2, ''], ['a\nb\n', 2, 'a\nb\n'], ['a\nb\nc\n', 2, 'b\nc\n'], ['a\nb\nc\nunfinished', 2, 'b\nc\nunfinished'], ['a\nb\n', 0, ''],
    ];
    for (const [text, keep, kept] of cases) expect(keepLastLines(text, keep), JSON.stringify([text, keep])).toBe(kept);
  });
});
