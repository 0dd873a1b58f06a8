// The player, seen from the page: commands go up to the browser as messages, reports come down.
// One player plays one medium: it belongs to one element at a time, its owner.

// Media status codes of a report.
const STATUS_IDLE = 1;
const STATUS_PAUSED = 3;
const STATUS_PLAYING = 4;
const STATUS_BUFFERING = 5;
const STATUS_ENDED = 6;
const STATUS_ERROR = 100;  // and all above
const STATUS_ERROR_DECODE = 102;
const STATUS_ERROR_READ = 103;

// The arguments of a report, in order. load is the number of the load command that the rest is of.
const REPORT_FIELDS = ['page', 'done', 'load', 'loadFailed', 'connected', 'playTime', 'endTime',
    'speed', 'mediaStatus', 'inSeek', 'totalBytes', 'currentOffset', 'width', 'height'];

class Channel {
    constructor(onReport) {
        const handler = webkit.messageHandlers.html5Video;
        this.post = handler.postMessage.bind(handler);
        this.page = 1 + Math.floor(Math.random() * (Number.MAX_SAFE_INTEGER - 1));
        this.last = 0;
        Object.defineProperty(window, 'html5VideoReport', {value: (...values) => {
            const report = Object.fromEntries(REPORT_FIELDS.map((name, i) => [name, values[i]]));
            if (report.page === this.page) {
                report.at = performance.now();
                onReport(report);
            }
        }});
        this.send('begin');
    }

    // Returns the command's number. Commands are carried out in order; a report tells in done the
    // number of the last one that was.
    send(name, ...values) {
        this.post([name, this.page, ++this.last, ...values]);
        return this.last;
    }
}

class Player {
    static RETRY = 500;      // ms between attempts to reach a player
    static FORGOTTEN = 2000;  // ms after which an idle player has not heard of the load
    static RECHECK = 500;     // ms after which a report is looked at again while something is awaited
    static PATIENCE = 10000;  // ms until a load without a player fails

    constructor() {
        this.owner = null;
        this.waiting = new Set();  // elements that would load, but another one plays
        this.connected = false;
        this.told = {};  // what the player was told: it outlives a load
        this.load = 0;   // the number of the owner's load command, 0 when it must be sent again
        this.retry = 0;     // a timer
        this.patience = 0;  // another
        this.again = 0;     // a third
        this.last = {};     // the last report
        this.channel = new Channel((report) => this.onReport(report));
    }

    // To be loaded, unless another element is playing and this one is not going to: then it waits.
    request(state) {
        const isBusy = this.owner && this.owner !== state && this.owner.isPotentiallyPlaying();
        if (isBusy && state.paused && !state.isEligibleForAutoplay()) {
            this.waiting.add(state);
            state.standBy();
        } else {
            this.take(state);
        }
    }

    // To be loaded now, whoever plays.
    take(state) {
        this.waiting.delete(state);
        const previous = this.owner;
        this.owner = state;
        if (previous && previous !== state) {
            previous.onTaken();
        }
        this.expect();
        this.start();
    }

    // The element needs the player no more.
    release(state) {
        this.waiting.delete(state);
        if (this.owner !== state) {
            return;
        }
        clearTimeout(this.retry);
        clearTimeout(this.patience);
        this.channel.send('cancelLoad');
        this.owner = null;
        this.load = 0;
        const [next] = this.waiting;
        if (next) {
            next.wake();
        }
    }

    // Tells the player everything about the owner.
    start() {
        clearTimeout(this.retry);
        const state = this.owner;
        this.load = this.channel.send('load', state.url);
        this.startTime = performance.now();
        this.heard = false;
        Object.assign(this.told, {setRate: '1', play: false});
        this.sync(state);
        state.onStarted();
    }

    // Sends what differs from what the player was told.
    sync(state) {
        if (this.owner !== state || !this.load) {
            return;
        }
        this.tell('setVolume', state.volume);
        this.tell('setMuted', state.muted ? 1 : 0);
        this.tell('setRate', state.playbackRate);
        if (state.width > 0 && state.height > 0) {
            this.tell('setSize', state.width, state.height);
        }
        const play = state.isPotentiallyPlaying() || (this.told.play && !state.paused);
        if (play !== this.told.play) {
            this.told.play = play;
            this.channel.send(play ? 'play' : 'pause');
        }
    }

    tell(name, ...values) {
        if (this.told[name] !== values.join()) {
            this.told[name] = values.join();
            this.channel.send(name, ...values);
        }
    }

    // Returns the command's number.
    seek(time) {
        return this.channel.send('seek', time);
    }

    // Reports come when something changes: what is waited for without one shows by looking again.
    onReport(report) {
        clearTimeout(this.again);
        this.last = report;
        this.handle(report);
        if (this.owner && this.load && this.owner.isAwaitingPlayer()) {
            this.again = setTimeout(() => this.onReport(report), Player.RECHECK);
        }
    }

    // At what was told last, since the element can make more of it now.
    lookAgain(state) {
        if (this.owner === state && this.last.load === this.load) {
            this.onOwnersReport(this.last);
        }
    }

    handle(report) {
        const lost = this.connected && !report.connected;
        this.connected = report.connected;
        if (lost) {
            this.lose();
        } else if (!this.owner || report.done < this.load) {
            return;
        } else if (!this.load) {
            this.startAgain(report.connected ? 0 : Player.RETRY);
        } else if (report.load === this.load) {
            this.onOwnersReport(report);
        }
    }

    onOwnersReport(report) {
        if (report.loadFailed) {
            this.told = {};
            this.startAgain(Player.RETRY);
        } else if (report.mediaStatus === STATUS_IDLE) {
            // Not yet heard of the load, or another player than the one that was.
            if (this.heard) {
                this.lose();
            } else if (performance.now() - this.startTime > Player.FORGOTTEN) {
                this.startAgain(0);
            }
        } else if (report.mediaStatus > STATUS_IDLE && report.connected) {
            this.heard = true;
            clearTimeout(this.patience);
            if (report.mediaStatus === STATUS_ENDED) {
                this.told.play = false;
            }
            this.owner.onReport(report);
        }
    }

    // The player is gone, and with it all that it was told.
    lose() {
        this.told = {};
        if (this.owner && this.load) {
            const wasLoaded = this.owner.readyState > 0;
            this.load = 0;
            this.expect();
            if (wasLoaded && !RESUME) {
                this.owner.onFailure(STATUS_ERROR_READ);
            } else {
                this.owner.onLost();
                this.startAgain(Player.RETRY);
            }
        }
    }

    startAgain(delay) {
        clearTimeout(this.retry);
        this.load = 0;
        this.retry = setTimeout(() => this.owner && this.start(), delay);
    }

    // Without a player that answers, the load fails after a while.
    expect() {
        clearTimeout(this.patience);
        if (!RESUME) {
            this.patience = setTimeout(() => this.owner && this.owner.onFailure(STATUS_ERROR_READ),
                Player.PATIENCE);
        }
    }
}
