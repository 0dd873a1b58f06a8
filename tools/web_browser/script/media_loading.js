// How a media element chooses and fetches its media resource: the steps of the HTML standard
// (section "Media elements": media element load algorithm, resource selection, resource fetch).
// What plays it is the subclass's business.

const NETWORK_EMPTY = 0;
const NETWORK_IDLE = 1;
const NETWORK_LOADING = 2;
const NETWORK_NO_SOURCE = 3;

const HAVE_NOTHING = 0;
const HAVE_METADATA = 1;
const HAVE_CURRENT_DATA = 2;
const HAVE_FUTURE_DATA = 3;
const HAVE_ENOUGH_DATA = 4;

class MediaLoading {
    constructor(element, player, tasks) {
        Object.assign(this, {element, player, tasks});
        this.networkState = NETWORK_EMPTY;
        this.readyState = HAVE_NOTHING;
        this.error = null;
        this.paused = true;
        this.canAutoplay = true;
        this.currentSrc = '';
        this.url = '';       // of the media resource, for the player
        this.selection = 0;  // counts resource selections: an older one has been aborted
        this.candidate = null;        // the source element that is tried
        this.waitsForSource = false;  // all were tried
        this.isStandingBy = false;    // nothing is loaded until it must be
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
        const moved = this.position.now !== 0;
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

    isEligibleForAutoplay() {
        return this.canAutoplay && this.paused && this.element.autoplay;
    }

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
