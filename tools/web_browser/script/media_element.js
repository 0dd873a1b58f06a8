// What pages see: the media element's interface, put in the place of the engine's own on the
// prototypes, so that elements made in any way have it. The engine never plays: the browser blocks
// its fetches, and its events about that are stopped here.

const tasks = new Tasks();
const player = new Player();
const states = new WeakMap();

const EVENTS = ['abort', 'canplay', 'canplaythrough', 'durationchange', 'emptied', 'ended', 'error',
    'loadeddata', 'loadedmetadata', 'loadstart', 'pause', 'play', 'playing', 'progress',
    'ratechange', 'resize', 'seeked', 'seeking', 'stalled', 'suspend', 'timeupdate', 'volumechange',
    'waiting'];
const OBSERVED = ['src', 'autoplay', 'preload', 'width', 'height'];

function isMedia(node) {
    return node instanceof HTMLMediaElement;
}

function stopEngineEvent(event) {
    const {target} = event;
    if (event.isTrusted && (isMedia(target) || target instanceof HTMLSourceElement)) {
        event.stopImmediatePropagation();
    }
}

function stopEngineEvents(target) {
    EVENTS.forEach((type) => EventTarget.prototype.addEventListener.call(
        target, type, stopEngineEvent, true));
}

const sizes = new ResizeObserver((entries) => entries.forEach(({target}) => updateSize(target)));

// In the pixels of the screen.
function updateSize(element) {
    const shown = element.clientWidth > 0 && element.clientHeight > 0;
    const width = shown ? element.clientWidth : Number(element.getAttribute('width'));
    const height = shown ? element.clientHeight : Number(element.getAttribute('height'));
    stateOf(element).setSize(Math.round(width * devicePixelRatio) || 0,
        Math.round(height * devicePixelRatio) || 0);
}

function onChange(state, {type, attributeName, addedNodes}) {
    if (type === 'childList') {
        if ([...addedNodes].some((node) => node.localName === 'source')) {
            state.onSource();
        }
    } else if (attributeName === 'src') {
        if (state.element.hasAttribute('src')) {
            state.load();
        }
    } else if (attributeName === 'width' || attributeName === 'height') {
        updateSize(state.element);
    } else if (state.element.preload !== 'none' || state.element.autoplay) {
        state.wake();
    }
}

// The state of a media element, which begins with the first look at it.
function stateOf(element) {
    let state = states.get(element);
    if (!state) {
        if (!isMedia(element)) {
            throw new TypeError('This is no media element');
        }
        stopEngineEvents(element);
        state = new MediaState(element, player, tasks);
        states.set(element, state);
        state.observer = new MutationObserver(
            (records) => records.forEach((record) => onChange(state, record)));
        state.observer.observe(element, {attributeFilter: OBSERVED, childList: true});
        if (!(element instanceof HTMLAudioElement)) {
            sizes.observe(element);
            updateSize(element);
        }
        if (element.hasAttribute('src') || nextSource(element.firstElementChild)) {
            state.selectResource();
        }
    }
    return state;
}

// Changes of the element that were not looked at yet count before what comes now.
function upToDate(element) {
    const state = stateOf(element);
    state.observer.takeRecords().forEach((record) => onChange(state, record));
    return state;
}

function toNumber(value) {
    const number = Number(value);
    if (!Number.isFinite(number)) {
        throw new TypeError('The number is not finite');
    }
    return number;
}

function checkRate(value) {
    const rate = toNumber(value);
    if (Math.abs(rate) > MAX_RATE) {
        throw new DOMException(`The rate is beyond ${MAX_RATE}`, 'NotSupportedError');
    }
    return rate;
}

// The attributes of the interface: what to read, and how to write it where that is possible.
const ATTRIBUTES = {
    error: [(state) => state.error],
    src: [(state) => {
        const src = state.element.getAttribute('src');
        return resolve(src) || src || '';
    }, (state, value) => state.element.setAttribute('src', value)],
    srcObject: [() => null, (state, value) => {
        if (value !== null) {
            throw new DOMException('The player takes addresses only', 'NotSupportedError');
        }
    }],
    currentSrc: [(state) => state.currentSrc],
    networkState: [(state) => state.networkState],
    buffered: [(state) => state.buffered],
    readyState: [(state) => state.readyState],
    seeking: [(state) => state.seeking],
    currentTime: [(state) => state.currentTime,
        (state, value) => { state.currentTime = toNumber(value); }],
    duration: [(state) => state.duration],
    paused: [(state) => state.paused],
    defaultPlaybackRate: [(state) => state.defaultPlaybackRate, (state, value) => {
        const rate = checkRate(value);
        if (rate !== state.defaultPlaybackRate) {
            state.defaultPlaybackRate = rate;
            state.queueEvent('ratechange');
        }
    }],
    playbackRate: [(state) => state.playbackRate,
        (state, value) => state.setPlaybackRate(checkRate(value))],
    played: [(state) => state.played],
    seekable: [(state) => state.seekable],
    ended: [(state) => state.ended],
    volume: [(state) => state.volume, (state, value) => {
        const volume = toNumber(value);
        if (volume < 0 || volume > 1) {
            throw new DOMException('The volume is not from 0 to 1', 'IndexSizeError');
        }
        state.setVolume(volume, state.muted);
    }],
    muted: [(state) => state.muted, (state, value) => state.setVolume(state.volume, !!value)],
};

const VIDEO_ATTRIBUTES = {
    videoWidth: [(state) => state.videoWidth],
    videoHeight: [(state) => state.videoHeight],
};

const METHODS = {
    load() { upToDate(this).load(); },
    play() {
        try {
            return upToDate(this).play();
        } catch (error) {
            return Promise.reject(error);
        }
    },
    pause() { upToDate(this).pause(); },
    fastSeek(time) { upToDate(this).seekTo(toNumber(time)); },
    canPlayType(type) { return canPlay(type); },
    setAttribute(name, value) {
        const state = upToDate(this);
        Element.prototype.setAttribute.call(state.element, name, value);
        upToDate(this);
    },
    addEventListener(...values) {
        if (isMedia(this)) {
            stateOf(this);
        }
        EventTarget.prototype.addEventListener.apply(this, values);
    },
};

function defineAttributes(prototype, attributes) {
    for (const [name, [read, write]] of Object.entries(attributes)) {
        Object.defineProperty(prototype, name, {
            configurable: true,
            enumerable: true,
            get() { return read(upToDate(this)); },
            set: write && function set(value) { write(upToDate(this), value); },
        });
    }
}

function adopt(node) {
    if (isMedia(node)) {
        stateOf(node);
    }
    if (node.firstElementChild) {
        node.querySelectorAll('video, audio').forEach(stateOf);
    }
}

// A removed element pauses, unless it has come back meanwhile.
function leaveDocument(node) {
    const elements = node.querySelectorAll ? [node, ...node.querySelectorAll('video, audio')] : [];
    elements.filter((element) => states.has(element) && !element.isConnected)
        .forEach((element) => stateOf(element).pause());
}

defineAttributes(HTMLMediaElement.prototype, ATTRIBUTES);
defineAttributes(HTMLVideoElement.prototype, VIDEO_ATTRIBUTES);
for (const [name, value] of Object.entries(METHODS)) {
    Object.defineProperty(HTMLMediaElement.prototype, name,
        {configurable: true, enumerable: true, writable: true, value});
}
stopEngineEvents(window);
new MutationObserver((records) => records.forEach(({addedNodes, removedNodes}) => {
    removedNodes.forEach(leaveDocument);
    addedNodes.forEach(adopt);
})).observe(document, {childList: true, subtree: true});
addEventListener('pagehide', () => player.owner && player.release(player.owner));
