// One media element's state, and the steps that the HTML standard (section "Media elements")
// prescribes for it. Nothing here touches messages or the document: what the page asked for comes
// as calls, what the player did comes as reports, and events are dispatched at the element.

const NETWORK_EMPTY = 0;
const NETWORK_IDLE = 1;
const NETWORK_LOADING = 2;
const NETWORK_NO_SOURCE = 3;

const HAVE_NOTHING = 0;
const HAVE_METADATA = 1;
const HAVE_CURRENT_DATA = 2;
const HAVE_FUTURE_DATA = 3;
const HAVE_ENOUGH_DATA = 4;

const MAX_RATE = 16;              // the player's
const TIMEUPDATE_INTERVAL = 200;  // ms, at least
const PROGRESS_INTERVAL = 350;    // ms, at least
const LENGTH_WAIT = 1000;         // ms until media without a length has none
const MAX_AHEAD = 2000;           // ms that the position runs on without a report
const SEEK_NEAR = 0.5;            // seconds from its target, where a seek has surely arrived
const SEEK_LIMIT = 1000;          // ms after which any position is where it arrived

class MediaState {
    constructor(element, player, tasks) {
        Object.assign(this, {element, player, tasks});
        this.networkState = NETWORK_EMPTY;
        this.readyState = HAVE_NOTHING;
        this.error = null;
        this.currentSrc = '';
        this.url = '';        // of the media resource, for the player
        this.selection = 0;   // counts resource selections: an older one has been aborted
        this.candidate = null;         // the source element that is tried
        this.waitsForSource = false;   // all were tried
        this.isStandingBy = false;     // nothing is loaded until it must be
        this.paused = true;
        this.canAutoplay = true;
        this.promises = [];  // of play, pending
        this.playbackRate = 1;
        this.defaultPlaybackRate = 1;
        this.volume = 1;
        this.muted = element.hasAttribute('muted');
        this.width = 0;  // of the element on the page, pixels
        this.height = 0;
        this.forgetMedia();
    }

    // ---- Loading ----

    forgetMedia() {
        this.duration = NaN;
        this.videoWidth = 0;
        this.videoHeight = 0;
        this.seeking = false;
        this.seek = null;         // {id, target, ...}: what the player was asked for and has not done
        this.isAnnounced = false; // loadedmetadata was dispatched
        this.wasLoaded = false;   // loadeddata was
        this.isAway = false;      // known, but not in the player at the moment
        this.isBuffering = false;
        this.hasEnded = false;
        this.defaultStart = 0;
        this.position = {time: 0, at: 0, speed: 0};  // seconds; at, in ms; per second
        this.official = null;     // the position that the running script sees
        this.playedRanges = new Ranges();
        this.playedFrom = null;
        this.heldAt = null;       // where it was paused
        this.bufferedFrom = 0;
        this.offset = this.total = 0;  // bytes
        this.lastTimeupdate = this.lastProgress = 0;
        this.loadedAt = 0;
    }

    load() {
        this.selection++;
        this.tasks.cancel(this);
        if (this.networkState === NETWORK_LOADING || this.networkState === NETWORK_IDLE) {
            this.queueEvent('abort');
        }
        if (this.networkState !== NETWORK_EMPTY) {
            this.unload();
        }
        this.setPlaybackRate(this.defaultPlaybackRate);
        this.error = null;
        this.canAutoplay = true;
        this.selectResource();
    }

    unload() {
        this.queueEvent('emptied');
        const moved = this.currentTime !== 0;
        this.player.release(this);
        this.readyState = HAVE_NOTHING;
        if (!this.paused) {
            this.paused = true;
            this.rejectPlay(this.takePromises(), 'AbortError', 'The media was replaced');
        }
        this.forgetMedia();
        if (moved) {
            this.queueEvent('timeupdate');
        }
    }

    selectResource() {
        const selection = ++this.selection;
        this.networkState = NETWORK_NO_SOURCE;
        this.candidate = null;
        this.waitsForSource = false;
        this.isStandingBy = false;
        queueMicrotask(() => selection === this.selection && this.chooseResource());
    }

    chooseResource() {
        const source = nextSource(this.element.firstElementChild);
        if (!this.element.hasAttribute('src') && !source) {
            this.networkState = NETWORK_EMPTY;
            return;
        }
        this.networkState = NETWORK_LOADING;
        this.queueEvent('loadstart');
        if (!this.element.hasAttribute('src')) {
            this.tryCandidate(source);
            return;
        }
        const url = resolve(this.element.getAttribute('src'));
        if (url) {
            this.fetch(url);
        } else {
            this.fail();
        }
    }

    tryCandidate(source) {
        this.candidate = source;
        const url = resolve(source.getAttribute('src'));
        const type = source.getAttribute('type');
        if (url && (!type || canPlay(type))) {
            this.fetch(url);
        } else {
            this.failCandidate();
        }
    }

    failCandidate() {
        const {candidate, selection} = this;
        this.tasks.post(this, () => candidate.dispatchEvent(new Event('error')));
        queueMicrotask(() => {
            if (selection === this.selection) {
                this.waitsForSource = true;
                this.networkState = NETWORK_NO_SOURCE;
                this.tryNextCandidate();
            }
        });
    }

    tryNextCandidate() {
        const next = nextSource(this.candidate.nextElementSibling);
        if (next) {
            this.waitsForSource = false;
            this.networkState = NETWORK_LOADING;
            this.tryCandidate(next);
        }
    }

    // A source element has become a child of this element.
    onSource() {
        if (this.waitsForSource) {
            this.tryNextCandidate();
        } else if (this.networkState === NETWORK_EMPTY && !this.element.hasAttribute('src')) {
            this.selectResource();
        }
    }

    fetch(url) {
        this.currentSrc = url;
        this.url = url.replace(/#.*/, '');
        if (this.element.preload === 'none' && this.paused && !this.isEligibleForAutoplay()) {
            this.standBy();
        } else {
            this.player.request(this);
        }
    }

    standBy() {
        this.isStandingBy = true;
        this.networkState = NETWORK_IDLE;
        this.queueEvent('suspend');
    }

    // What it waited for has come.
    wake() {
        if (this.isStandingBy) {
            this.isStandingBy = false;
            this.networkState = NETWORK_LOADING;
            this.player.take(this);
        }
    }

    // Nothing that could be played was found.
    fail() {
        const promises = this.takePromises();
        const reject = () => this.rejectPlay(promises, 'NotSupportedError', 'No playable source');
        this.tasks.post(this, () => {
            this.error = new PlaybackError(MediaError.MEDIA_ERR_SRC_NOT_SUPPORTED,
                'The media is missing, or of an unknown format');
            this.networkState = NETWORK_NO_SOURCE;
            this.dispatch('error');
            reject();
        }, reject);
    }

    // ---- What the player tells ----

    onStarted() {
        if (this.isAnnounced) {
            this.isAway = true;
            this.seekPlayer(this.currentTime);
        }
    }

    // Another element plays now.
    onTaken() {
        if (this.readyState === HAVE_NOTHING) {
            this.standBy();
            return;
        }
        this.stopRunning();
        this.pause();
        this.leave();
        this.networkState = NETWORK_IDLE;
    }

    // The player has died; there will be another.
    onLost() {
        this.stopRunning();
        this.leave();
    }

    leave() {
        this.isAway = this.readyState !== HAVE_NOTHING;
        if (this.seek) {
            this.seek = null;
            this.finishSeekSoon();
        }
        this.updateReadyState();
    }

    onFailure(status) {
        this.stopRunning();
        this.player.release(this);
        if (this.readyState !== HAVE_NOTHING) {
            this.failFatally(status);
        } else if (this.candidate) {
            this.failCandidate();
        } else {
            this.fail();
        }
    }

    failFatally(status) {
        const decode = status !== STATUS_ERROR_READ;
        this.error = new PlaybackError(
            decode ? MediaError.MEDIA_ERR_DECODE : MediaError.MEDIA_ERR_NETWORK,
            decode ? 'The media is damaged' : 'The player or its source is gone');
        this.networkState = NETWORK_IDLE;
        this.queueEvent('error');
    }

    onReport(report) {
        if (report.mediaStatus >= STATUS_ERROR) {
            this.onFailure(report.mediaStatus);
        } else if (report.mediaStatus >= STATUS_PAUSED && this.takeLength(report)) {
            this.takeSize(report);
            if (this.readyState === HAVE_NOTHING) {
                this.onMetadata();
            }
            this.isBuffering = report.mediaStatus === STATUS_BUFFERING;
            this.takeProgress(report);
            this.takePosition(report);
            this.updateReadyState();
        }
    }

    // False as long as the length may still become known.
    takeLength(report) {
        this.loadedAt = this.loadedAt || performance.now();
        if (report.endTime <= 0 && this.readyState === HAVE_NOTHING &&
            performance.now() - this.loadedAt < LENGTH_WAIT) {
            return false;
        }
        const duration = report.endTime > 0 ? report.endTime / 1000 : Infinity;
        if (duration !== this.duration) {
            this.duration = duration;
            this.queueEvent('durationchange');
        }
        return true;
    }

    takeSize({width, height}) {
        if (width !== this.videoWidth || height !== this.videoHeight) {
            this.videoWidth = width;
            this.videoHeight = height;
            this.queueEvent('resize');
        }
    }

    onMetadata() {
        this.readyState = HAVE_METADATA;
        this.tasks.post(this, () => {
            this.dispatch('loadedmetadata');
            this.isAnnounced = true;
            if (this.defaultStart > 0) {
                this.seekTo(this.defaultStart);
            }
            this.defaultStart = 0;
            this.tasks.post(this, () => this.updateReadyState());
        });
    }

    takeProgress({currentOffset, totalBytes}) {
        if (this.networkState !== NETWORK_LOADING || currentOffset === this.offset) {
            return;
        }
        this.offset = currentOffset;
        this.total = totalBytes;
        const now = performance.now();
        if (totalBytes > 0 && currentOffset >= totalBytes) {
            this.queueEvent('progress');
            this.networkState = NETWORK_IDLE;
            this.queueEvent('suspend');
        } else if (now - this.lastProgress >= PROGRESS_INTERVAL) {
            this.lastProgress = now;
            this.queueEvent('progress');
        }
    }

    takePosition(report) {
        if (this.seek) {
            this.checkSeek(report);
        }
        if (this.seek || this.seeking || this.hasEnded || !this.isAnnounced) {
            return;
        }
        const isPlaying = report.mediaStatus === STATUS_PLAYING;
        if (report.mediaStatus === STATUS_ENDED) {
            this.setPosition(report.speed < 0 ? 0 : this.duration);
            this.onEnd();
        } else if (!isPlaying || !this.paused) {  // else, the pause is still on its way
            this.setPosition(report.playTime / 1000, isPlaying ? report.speed / 100 : 0);
            this.noteTime(isPlaying);
        }
    }

    noteTime(isPlaying) {
        const now = performance.now();
        if (isPlaying && now - this.lastTimeupdate >= TIMEUPDATE_INTERVAL) {
            this.lastTimeupdate = now;
            this.queueEvent('timeupdate');
        }
    }

    onEnd() {
        this.hasEnded = true;
        if (this.element.loop && this.playbackRate >= 0) {
            this.seekTo(0);
            return;
        }
        this.tasks.post(this, () => {
            this.dispatch('timeupdate');
            if (!this.ended) {
                return;
            }
            if (!this.paused) {
                this.paused = true;
                const promises = this.takePromises();
                this.player.sync(this);
                this.dispatch('pause');
                this.rejectPlay(promises, 'AbortError', 'The media ended');
            }
            this.dispatch('ended');
        });
    }

    // ---- Ready states ----

    updateReadyState() {
        if (this.readyState !== HAVE_NOTHING && this.isAnnounced && !this.error) {
            this.setReadyState(this.currentReadiness());
        }
        this.player.sync(this);
    }

    currentReadiness() {
        if (this.isAway || this.seeking || this.seek) {
            return HAVE_METADATA;
        }
        return this.isBuffering || this.hasEnded ? HAVE_CURRENT_DATA : HAVE_ENOUGH_DATA;
    }

    setReadyState(next) {
        const last = this.readyState;
        const wasPlaying = this.isPotentiallyPlaying();
        this.readyState = next;
        if (next >= HAVE_CURRENT_DATA && !this.wasLoaded) {
            this.wasLoaded = true;
            this.queueEvent('loadeddata');
        }
        if (last >= HAVE_FUTURE_DATA && next < HAVE_FUTURE_DATA && wasPlaying) {
            this.queueEvent('timeupdate');
            this.queueEvent('waiting');
        }
        if (last < HAVE_FUTURE_DATA && next >= HAVE_FUTURE_DATA) {
            this.queueEvent('canplay');
            if (!this.paused) {
                this.notifyAboutPlaying();
            }
            this.queueEvent('canplaythrough');
            if (this.isEligibleForAutoplay()) {
                this.paused = false;
                this.queueEvent('play');
                this.notifyAboutPlaying();
            }
        }
    }

    isEligibleForAutoplay() {
        return this.canAutoplay && this.paused && this.element.autoplay;
    }

    isPotentiallyPlaying() {
        return !this.paused && !this.hasEnded && !this.error &&
            this.readyState >= HAVE_FUTURE_DATA;
    }

    get ended() {
        return this.hasEnded && this.readyState >= HAVE_METADATA && this.playbackRate >= 0 &&
            !this.element.loop;
    }

    // ---- Playing and pausing ----

    play() {
        if (this.error && this.error.code === MediaError.MEDIA_ERR_SRC_NOT_SUPPORTED) {
            return Promise.reject(new DOMException('No playable source', 'NotSupportedError'));
        }
        return new Promise((resolve, reject) => {
            this.promises.push({resolve, reject});
            this.startPlaying();
        });
    }

    startPlaying() {
        if (this.networkState === NETWORK_EMPTY) {
            this.selectResource();
        }
        if (this.hasEnded && this.playbackRate >= 0) {
            this.seekTo(0);
        }
        if (this.paused) {
            this.paused = false;
            this.queueEvent('play');
            if (this.readyState <= HAVE_CURRENT_DATA) {
                this.queueEvent('waiting');
            } else {
                this.notifyAboutPlaying();
            }
        } else if (this.readyState >= HAVE_FUTURE_DATA) {
            const promises = this.takePromises();
            const settle = () => promises.forEach((promise) => promise.resolve());
            this.tasks.post(this, settle, settle);
        }
        this.canAutoplay = false;
        this.wake();
        if (this.isAway && !this.error && this.player.owner !== this) {
            this.player.take(this);
        }
        this.player.sync(this);
    }

    pause() {
        if (this.networkState === NETWORK_EMPTY) {
            this.selectResource();
        }
        this.canAutoplay = false;
        if (this.paused) {
            return;
        }
        this.stopRunning();
        this.paused = true;
        const promises = this.takePromises();
        const reject = () => this.rejectPlay(promises, 'AbortError', 'The media was paused');
        this.tasks.post(this, () => {
            this.dispatch('timeupdate');
            this.dispatch('pause');
            reject();
        }, reject);
        this.player.sync(this);
    }

    notifyAboutPlaying() {
        const promises = this.takePromises();
        const settle = () => promises.forEach((promise) => promise.resolve());
        this.tasks.post(this, () => {
            this.dispatch('playing');
            settle();
        }, settle);
    }

    takePromises() {
        return this.promises.splice(0);
    }

    rejectPlay(promises, name, message) {
        promises.forEach((promise) => promise.reject(new DOMException(message, name)));
    }

    // ---- Seeking and the position ----

    seekTo(time) {
        if (this.readyState === HAVE_NOTHING || this.duration === Infinity) {
            return;
        }
        const target = Math.min(Math.max(time, 0), this.duration);
        this.stopRunning();
        this.heldAt = null;
        this.seeking = true;
        this.hasEnded = false;
        this.queueEvent('seeking');
        this.setPosition(target);
        this.bufferedFrom = target;
        if (this.player.owner === this && this.player.load) {
            this.seekPlayer(target);
        } else {
            this.finishSeekSoon();
        }
        this.updateReadyState();
    }

    seekPlayer(target) {
        this.seek = {id: this.player.seek(target), target, isSeen: false, doneAt: 0};
    }

    // The player has arrived when it is near, or was seen to seek and does no more.
    checkSeek(report) {
        const seek = this.seek;
        if (report.done < seek.id) {
            return;
        }
        const now = performance.now();
        seek.doneAt = seek.doneAt || now;
        if (report.inSeek) {
            seek.isSeen = true;
            return;
        }
        const time = report.playTime / 1000;
        const isNear = Math.abs(time - seek.target) <= SEEK_NEAR;
        if (isNear || seek.isSeen || now - seek.doneAt > SEEK_LIMIT) {
            this.seek = null;
            this.isAway = false;
            this.setPosition(time);
            this.finishSeekSoon();
        }
    }

    finishSeekSoon() {
        this.tasks.post(this, () => {
            if (this.seeking && !this.seek) {
                this.seeking = false;
                this.queueEvent('timeupdate');
                this.queueEvent('seeked');
            }
            this.tasks.post(this, () => this.afterSeek());
        });
    }

    afterSeek() {
        if (!this.seeking && !this.isAway && this.currentTime >= this.duration) {
            if (!this.hasEnded) {
                this.onEnd();
            }
        }
        this.updateReadyState();
    }

    setPosition(time, speed = 0) {
        const before = this.runningTime();
        const clamped = Math.min(Math.max(time, 0), this.duration || 0);
        // A report is a little older than what ran on since the last one: time does not go back.
        const isJitter = speed > 0 && this.position.speed > 0 && clamped < before &&
            before - clamped < SEEK_NEAR;
        if (speed !== 0 && this.playedFrom === null) {
            const isResumed = this.heldAt !== null && Math.abs(this.heldAt - clamped) < SEEK_NEAR;
            this.playedFrom = isResumed ? this.heldAt : clamped;
            this.heldAt = null;
        } else if (speed === 0) {
            this.notePlayed();
        }
        this.position = {time: isJitter ? before : clamped, at: performance.now(), speed};
        this.official = null;
    }

    runningTime() {
        const {time, at, speed} = this.position;
        const ahead = Math.min(performance.now() - at, MAX_AHEAD);
        return Math.min(Math.max(time + ahead * speed / 1000, 0), this.duration || 0);
    }

    stopRunning() {
        this.notePlayed();
        this.position = {time: this.runningTime(), at: performance.now(), speed: 0};
    }

    notePlayed() {
        if (this.playedFrom !== null) {
            const [start, end] = [this.playedFrom, this.runningTime()].sort((a, b) => a - b);
            this.playedRanges = this.playedRanges.with(start, end);
            this.playedFrom = null;
            this.heldAt = end;
        }
    }

    // The same for the whole of a script's turn.
    get currentTime() {
        if (this.readyState === HAVE_NOTHING) {
            return this.defaultStart;
        }
        if (this.official === null) {
            this.official = this.runningTime();
            queueMicrotask(() => { this.official = null; });
        }
        return this.official;
    }

    set currentTime(time) {
        if (this.readyState === HAVE_NOTHING) {
            this.defaultStart = time;
        } else {
            this.seekTo(time);
        }
    }

    get played() {
        return this.playedFrom === null ? this.playedRanges
            : this.playedRanges.with(...[this.playedFrom, this.runningTime()].sort((a, b) => a - b));
    }

    get seekable() {
        return this.readyState >= HAVE_METADATA && this.duration < Infinity
            ? new Ranges([[0, this.duration]]) : new Ranges();
    }

    // An estimate: the player tells bytes, taken here as spread evenly over the length.
    get buffered() {
        if (this.readyState < HAVE_CURRENT_DATA) {
            return new Ranges();
        }
        const share = this.total > 0 ? Math.min(this.offset / this.total, 1) : 0;
        const read = this.duration < Infinity ? share * this.duration : 0;
        const end = Math.max(this.runningTime(), read);
        return new Ranges([[share === 1 ? 0 : Math.min(this.bufferedFrom, end), end]]);
    }

    // ---- Settings ----

    setPlaybackRate(rate) {
        if (rate !== this.playbackRate) {
            this.playbackRate = rate;
            this.queueEvent('ratechange');
            this.player.sync(this);
        }
    }

    setVolume(volume, muted) {
        if (volume !== this.volume || muted !== this.muted) {
            this.volume = volume;
            this.muted = muted;
            this.queueEvent('volumechange');
            this.player.sync(this);
        }
    }

    setSize(width, height) {
        this.width = width;
        this.height = height;
        this.player.sync(this);
    }

    // ---- Events ----

    queueEvent(type) {
        this.tasks.post(this, () => this.dispatch(type));
    }

    dispatch(type) {
        this.element.dispatchEvent(new Event(type));
    }
}

// The element itself or the next source element after it; null when there is none.
function nextSource(element) {
    while (element && element.localName !== 'source') {
        element = element.nextElementSibling;
    }
    return element;
}

// The absolute address; null for none, an empty or a malformed one.
function resolve(address) {
    try {
        return address ? new URL(address, document.baseURI).href : null;
    } catch (error) {
        return null;
    }
}
