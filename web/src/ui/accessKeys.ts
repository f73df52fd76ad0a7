// Captions mark their access key with "&" ("Orvo&net": Alt+N); "&&" is a plain ampersand.

export interface Caption {
  // The text as shown, without the markers.
  text: string;
  // Where the underlined letter is in `text`, or -1.
  index: number;
  // The access key in lower case, or '' when there is none.
  key: string;
}

export function parseCaption(caption: string): Caption {
  let text = '';
  let index = -1;
  for (let i = 0; i < caption.length; i++) {
    const c = caption[i];
    if (c !== '&') {
      text += c;
      continue;
    }
    const next = caption[i + 1];
    if (next === undefined) break; // a lone trailing marker shows nothing
    if (next === '&') {
      text += '&';
    } else if (index < 0 && next !== ' ') {
      index = text.length;
      text += next;
    } else {
      text += next;
    }
    i++;
  }
  return { text, index, key: index >= 0 ? text[index].toLowerCase() : '' };
}

// The caption as DOM nodes, the access key underlined.
export function captionNodes(caption: string, doc: Document = document): Node[] {
  const { text, index } = parseCaption(caption);
  if (index < 0) return [doc.createTextNode(text)];
  const key = doc.createElement('u');
  key.textContent = text[index];
  return [doc.createTextNode(text.slice(0, index)), key, doc.createTextNode(text.slice(index + 1))];
}

// The access key a key event asks for ("n" for Alt+N), or '' when it is not an Alt+letter.
export function accessKeyOf(event: { altKey: boolean; ctrlKey: boolean; key: string; code?: string }): string {
  if (!event.altKey || event.ctrlKey) return '';
  // The code names the key whatever the layout makes of Alt+letter ("KeyN").
  if (event.code && /^(Key[A-Z]|Digit[0-9])$/.test(event.code)) return event.code.slice(-1).toLowerCase();
  return event.key.length === 1 ? event.key.toLowerCase() : '';
}
