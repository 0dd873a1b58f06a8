// One media element's state, and the steps that the HTML standard (section "Media elements")
// prescribes for it. Nothing here touches messages or the document: what the page asked for comes
// as calls, what the player did comes as reports, and events are dispatched at the element.

const MAX_RATE = 16;              // the player's
const TIMEUPDATE_INTERVAL = 200;  // ms, at least
const PROGRESS_INTERVAL = 350;    // ms, at least
const LENGTH_WAIT = 1000;         // ms until media without a length has none
const PAUSE_LIMIT = 500;          // ms after which a player that is paused should have heard of it
const SEEK_NEAR = 0.05;           // seconds from its target, where a seek has surely arrived
const SEEK_LIMIT = 1000;          // ms after which any position is where it arrived

class MediaState extends MediaLoading {
    constructor(element, player, tasks) {
        super(element, player, tasks);
        this.promises = [];  // of play, pending
        this.pausedAt = 0;   // ms
        this.playbackRate = 1;
        this.defaultPlaybackRate = 1;
        this.volume = 1;
        this.muted = element.hasAttribute('muted');
        this.width = 0;  // of the element on the page, pixels
        this.height = 0;
        this.defaultStart = 0;  // seconds: where to begin, asked for before there is a media
        this.forgetMedia();
    }

    // Nothing of the media that was loaded counts any more.
    forgetMedia() {
        this.duration = NaN;
        this.videoWidth = 0;
        this.videoHeight = 0;
        this.seeking = false;
        this.seek = null;          // {id, target, ...}: the player was asked for it, and is not done
        this.isSettling = false;   // seeked is on its way
        this.isAnnounced = false;  // loadedmetadata was dispatched
        this.wasLoaded = false;    // loadeddata was
        this.isAway = false;       // known, but not in the player at the moment
        this.isBuffering = false;
        this.hasEnded = false;
        this.position = new Position();
        this.bufferedFrom = 0;
        this.offset = this.total = 0;  // bytes
        this.lastTimeupdate = this.lastProgress = 0;
        this.loadedAt = 0;
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
        this.position.stop();
        this.pause();
        if (this.readyState === HAVE_NOTHING) {
            this.standBy();
            return;
        }
        this.networkState = NETWORK_IDLE;
        this.leave();
        this.finishSeekSoon();
    }

    // The player has died; there will be another.
    onLost() {
        this.position.stop();
        this.leave();
    }

    // The media is known, but not in the player at the moment.
    leave() {
        this.isAway = this.readyState !== HAVE_NOTHING;
        this.seek = null;
        this.updateReadyState();
    }

    onFailure(status) {
        this.position.stop();
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
        this.readyState = HAVE_METADATA;
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
        } else if (!isPlaying || !this.paused || performance.now() - this.pausedAt > PAUSE_LIMIT) {
            // Else, the pause is still on its way.
            const speed = isPlaying ? report.speed / 100 : 0;
            const age = (performance.now() - report.at) / 1000;
            this.setPosition(report.playTime / 1000 + age * speed, speed);
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
        if (this.isAway || this.seeking || this.seek || this.isSettling) {
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
        this.position.stop();
        this.paused = true;
        this.pausedAt = performance.now();
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
        this.position.leap();
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
        this.seek = {id: this.player.seek(target), target, sentAt: performance.now(),
            doneAt: 0, isSeen: false};
    }

    // The player has arrived when it is at the target, or has played on from there, or was seen to
    // seek and does no more. That it has answered the command says nothing yet.
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
        const speed = report.mediaStatus === STATUS_PLAYING ? Math.abs(report.speed) / 100 : 0;
        const playedOn = (now - seek.sentAt) / 1000 * speed;
        const isNear = Math.abs(time - seek.target) <= SEEK_NEAR + playedOn;
        if (isNear || seek.isSeen || now - seek.doneAt > SEEK_LIMIT) {
            this.seek = null;
            this.isAway = false;
            // The last picture may begin a little before the end.
            this.setPosition(isNear && seek.target === this.duration ? seek.target : time);
            this.finishSeekSoon();
        }
    }

    finishSeekSoon() {
        this.isSettling = true;
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
        this.isSettling = false;
        if (!this.seeking && !this.isAway && this.currentTime >= this.duration) {
            if (!this.hasEnded) {
                this.onEnd();
            }
        }
        this.player.lookAgain(this);
        this.updateReadyState();
    }

    setPosition(time, speed = 0) {
        this.position.set(time, speed, this.duration);
    }

    isAwaitingPlayer() {
        return this.readyState === HAVE_NOTHING || this.seek !== null;
    }

    get currentTime() {
        return this.readyState === HAVE_NOTHING ? this.defaultStart : this.position.now;
    }

    set currentTime(time) {
        if (this.readyState === HAVE_NOTHING) {
            this.defaultStart = time;
        } else {
            this.seekTo(time);
        }
    }

    get played() {
        return this.position.played;
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
        const end = Math.max(this.currentTime, read);
        return new Ranges([[share === 1 ? 0 : Math.min(this.bufferedFrom, end), end]]);
    }

    // ---- Settings ----

    setPlaybackRate(rate) {
        if (rate !== this.playbackRate) {
            const turned = rate * this.playbackRate < 0;
            this.playbackRate = rate;
            this.queueEvent('ratechange');
            this.hasEnded = this.hasEnded && !turned;
            this.updateReadyState();
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
}
