// Small objects that the media element hands out, and its queue of tasks.

class Ranges {
    #ranges;  // [start, end] in seconds, in order, none touching another

    constructor(ranges = []) { this.#ranges = ranges; }

    get length() { return this.#ranges.length; }
    start(index) { return this.#at(index)[0]; }
    end(index) { return this.#at(index)[1]; }

    #at(index) {
        const range = this.#ranges[index >>> 0];
        if (!range) {
            throw new DOMException('There is no such range', 'IndexSizeError');
        }
        return range;
    }

    // A copy that covers these seconds, too.
    with(start, end) {
        const apart = this.#ranges.filter((range) => range[1] < start || range[0] > end);
        const joined = this.#ranges.filter((range) => !apart.includes(range));
        const all = [start, end, ...joined.flat()];
        apart.push([Math.min(...all), Math.max(...all)]);
        return new Ranges(apart.sort((a, b) => a[0] - b[0]));
    }
}
Object.setPrototypeOf(Ranges.prototype, TimeRanges.prototype);

class PlaybackError {
    #code;
    #message;

    constructor(code, message) {
        this.#code = code;
        this.#message = message;
    }

    get code() { return this.#code; }
    get message() { return this.#message; }
}
Object.setPrototypeOf(PlaybackError.prototype, MediaError.prototype);

// Runs each task as a task of its own, in order. Those of an element can be taken back.
class Tasks {
    constructor() {
        this.queue = [];
        const channel = new MessageChannel();
        this.wake = channel.port2;
        channel.port1.onmessage = () => this.runNext();
    }

    // settle, if given, is run in place of a task that is taken back.
    post(state, run, settle) {
        this.queue.push({state, run, settle});
        this.wake.postMessage(0);
    }

    cancel(state) {
        const cancelled = this.queue.filter((task) => task.state === state);
        this.queue = this.queue.filter((task) => task.state !== state);
        cancelled.forEach((task) => task.settle && task.settle());
    }

    runNext() {
        const task = this.queue.shift();
        if (task) {
            task.run();
        }
    }
}

// The types of which the player is known to play some, with their codecs.
const AUDIO = ['vorbis', 'opus', 'flac'];
const VIDEO = ['vp8', 'vp8.0', 'vp9', 'vp09', 'theora', ...AUDIO];
const TYPES = {
    'video/webm': VIDEO, 'audio/webm': AUDIO,
    'video/ogg': VIDEO, 'audio/ogg': AUDIO, 'application/ogg': VIDEO,
    'video/mp4': [], 'audio/mp4': [], 'audio/wav': [], 'audio/x-wav': [], 'audio/flac': AUDIO,
};

function canPlay(type) {
    const [essence, ...parameters] = String(type).toLowerCase().split(';').map((s) => s.trim());
    const known = TYPES[essence];
    if (!known) {
        return '';
    }
    const codecs = parameters.find((text) => text.startsWith('codecs='));
    if (!codecs) {
        return 'maybe';
    }
    const names = codecs.slice(7).replace(/"/g, '').split(',').map((name) => name.trim());
    if (known.length === 0) {
        return 'maybe';  // which ones it plays depends on what is installed
    }
    return names.every((name) => known.includes(name.split('.')[0])) ? 'probably' : '';
}
