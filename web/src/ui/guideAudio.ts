// The guidance window's sounds and speech, played by the page. Sounds come as a list played one
// after the other (the direction's chime ends before the action's starts); one that cannot be
// loaded or played gives a short beep instead. Speech is a WAV file in the message; new speech,
// or a message without any, cuts off what is still being said.

export interface GuideAudioEvent {
  kind: 'play' | 'ended' | 'beep' | 'speech' | 'speechstop';
  src?: string;
}

declare global {
  interface Window {
    // What was played, in order: for the browser tests and for diagnosis in the console.
    orvoGuideAudio?: GuideAudioEvent[];
  }
}

const BEEP_SECONDS = 0.15;
const LOG_LIMIT = 200;

function record(event: GuideAudioEvent): void {
  const log = (window.orvoGuideAudio ??= []);
  log.push(event);
  if (log.length > LOG_LIMIT) log.splice(0, log.length - LOG_LIMIT);
}

export class GuideAudio {
  private sounds: HTMLAudioElement | null = null;
  private queueNumber = 0;
  private speaking: HTMLAudioElement | null = null;
  private context: AudioContext | null = null;

  // A new list replaces the one still playing.
  playSounds(addresses: string[]): void {
    this.sounds?.pause();
    this.sounds = null;
    const number = ++this.queueNumber;
    const next = (index: number): void => {
      if (number !== this.queueNumber || index >= addresses.length) return;
      const src = addresses[index];
      const audio = new Audio(src);
      this.sounds = audio;
      let done = false;
      const finish = (failed: boolean) => {
        if (done) return;
        done = true;
        if (failed) {
          this.beep();
          window.setTimeout(() => next(index + 1), BEEP_SECONDS * 1000);
        } else {
          record({ kind: 'ended', src });
          next(index + 1);
        }
      };
      audio.addEventListener('ended', () => finish(false));
      audio.addEventListener('error', () => finish(true));
      record({ kind: 'play', src });
      audio.play().catch(() => finish(true));
    };
    next(0);
  }

  speak(wav: string | undefined): void {
    if (this.speaking) {
      this.speaking.pause();
      this.speaking = null;
      record({ kind: 'speechstop' });
    }
    if (!wav) return;
    const audio = new Audio(`data:audio/wav;base64,${wav}`);
    this.speaking = audio;
    record({ kind: 'speech' });
    audio.play().catch(() => undefined);
  }

  private beep(): void {
    record({ kind: 'beep' });
    try {
      this.context ??= new AudioContext();
      const oscillator = this.context.createOscillator();
      const gain = this.context.createGain();
      oscillator.frequency.value = 880;
      gain.gain.value = 0.2;
      oscillator.connect(gain).connect(this.context.destination);
      oscillator.start();
      oscillator.stop(this.context.currentTime + BEEP_SECONDS);
    } catch {
      // no audio at all: nothing more to do
    }
  }
}
