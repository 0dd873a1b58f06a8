// Which events come in which order.
// All but those that tell of the reading: progress, resize and suspend.
const EVENTS = ['abort', 'canplay', 'canplaythrough', 'durationchange', 'emptied', 'ended', 'error',
    'loadeddata', 'loadedmetadata', 'loadstart', 'pause', 'play', 'playing', 'ratechange', 'seeked',
    'seeking', 'stalled', 'timeupdate', 'volumechange', 'waiting'];
const MEDIA = '/media/short.webm';
const LOADED = 'durationchange loadedmetadata loadeddata canplay canplaythrough';
const LOADED_IN_PLAY = LOADED.replace('canplay ', 'canplay playing ');
const SOUGHT = 'seeking timeupdate seeked canplay canplaythrough';
const SOUGHT_IN_PLAY = 'seeking timeupdate waiting timeupdate seeked canplay playing canplaythrough';

// Without the position's own ticks, which come at any time.
function normalise(events) {
    return events.filter((name, index) => name !== 'timeupdate' ||
        ['pause', 'seeked', 'waiting', 'loadstart'].includes(events[index + 1])).join(' ');
}

const empty = () => newVideo();
const after = async (type, src) => {
    const video = newVideo();
    await next(video, type, () => { video.src = src; });
    return video;
};
const loaded = () => after('canplaythrough', MEDIA);
const failed = () => after('error', '/media/missing.webm');
const playing = async () => {
    const video = await loaded();
    await video.play();
    await passes(video, 0.05);
    return video;
};
const atEnd = async () => {
    const video = await playing();
    await next(video, 'ended', () => { video.currentTime = video.duration - 0.2; });
    return video;
};

const play = (v) => { v.play().catch(() => {}); };
const load = (v) => { v.src = MEDIA; };

// From which state, what is done, and which events follow.
const ORDERS = [
    [empty, load, `loadstart ${LOADED}`],
    [empty, (v) => { v.autoplay = true; load(v); }, `loadstart ${LOADED} play playing`],
    [empty, (v) => { load(v); play(v); }, `play waiting loadstart ${LOADED_IN_PLAY}`],
    [empty, (v) => { v.preload = 'none'; load(v); }, 'loadstart'],
    [empty, (v) => { v.preload = 'none'; load(v); setTimeout(play, 50, v); },
        `loadstart play waiting ${LOADED_IN_PLAY}`],
    [empty, (v) => v.load(), ''],
    [empty, (v) => { v.src = ''; }, 'loadstart error'],
    [empty, (v) => { v.src = 'http://['; }, 'loadstart error'],
    [empty, (v) => { v.src = '/media/missing.webm'; }, 'loadstart error'],
    [empty, (v) => { v.src = '/media/noise.webm'; }, 'loadstart error'],
    [empty, (v) => { v.innerHTML = '<source src="/media/missing.webm">'; }, 'loadstart'],
    [empty, (v) => { v.innerHTML = '<source src="/media/short.webm">'; }, `loadstart ${LOADED}`],
    [empty, (v) => { v.currentTime = 2; load(v); },
        'loadstart durationchange loadedmetadata seeking timeupdate seeked loadeddata canplay ' +
        'canplaythrough'],
    [loaded, play, 'play playing'],
    [loaded, (v) => { play(v); v.pause(); }, 'play playing timeupdate pause'],
    [loaded, (v) => { v.currentTime = 3; }, SOUGHT],
    [loaded, (v) => { v.currentTime = 3; v.currentTime = 1; }, `seeking ${SOUGHT}`],
    [loaded, (v) => { v.currentTime = 99; }, 'seeking timeupdate seeked ended'],
    [loaded, (v) => { v.volume = 0.5; v.volume = 0.5; v.muted = true; },
        'volumechange volumechange'],
    [loaded, (v) => { v.playbackRate = 1.5; v.defaultPlaybackRate = 2; }, 'ratechange ratechange'],
    [loaded, (v) => { v.removeAttribute('src'); v.load(); }, 'abort emptied'],
    [loaded, load, `abort emptied loadstart ${LOADED}`],
    [loaded, (v) => { v.removeAttribute('src'); }, ''],
    [playing, (v) => v.pause(), 'timeupdate pause'],
    [playing, play, ''],
    [playing, load, `abort emptied timeupdate loadstart ${LOADED}`],
    [playing, (v) => { v.currentTime = 3; }, SOUGHT_IN_PLAY],
    [playing, (v) => { v.currentTime = v.duration - 0.3; },
        `${SOUGHT_IN_PLAY} timeupdate pause ended`],
    [atEnd, play, 'seeking play waiting timeupdate seeked canplay playing canplaythrough'],
    [failed, play, ''],
    [failed, load, `emptied loadstart ${LOADED}`],
];

const textOf = (act) => act.toString().replace(/^\(v\) => /, '').replace(/\s+/g, ' ');

ORDERS.forEach(([prepare, act, wanted], index) => {
    step(`${index + 1} ${prepare.name}: ${textOf(act)}`, async () => {
        const video = await prepare();
        const events = [];
        EVENTS.forEach((name) => video.addEventListener(name, () => events.push(name)));
        act(video);
        const count = wanted.split(' ').length;
        await until(() => normalise(events).split(' ').length >= count, wanted, 2000)
            .catch(() => {});
        await delay(wanted === '' ? 100 : 30);
        check(normalise(events) === wanted, normalise(events));
        video.src = '';
    });
});

// Which error comes of what is done, at once or from its promise.
const OUTCOMES = [
    ['none', playing, (v) => { v.pause(); return v.play(); }],
    ['AbortError', empty, (v) => { load(v); const p = v.play(); v.pause(); return p; }],
    ['AbortError', empty, (v) => { load(v); const p = v.play(); load(v); return p; }],
    ['NotSupportedError', empty, (v) => { v.src = '/media/missing.webm'; return v.play(); }],
    ['NotSupportedError', failed, (v) => v.play()],
    ['IndexSizeError', empty, (v) => { v.volume = 1.1; }],
    ['TypeError', empty, (v) => { v.volume = NaN; }],
    ['TypeError', empty, (v) => { v.currentTime = Infinity; }],
    ['NotSupportedError', empty, (v) => { v.playbackRate = 17; }],
    ['NotSupportedError', empty, (v) => { v.srcObject = {}; }],
];

OUTCOMES.forEach(([wanted, prepare, act]) => {
    step(`${wanted} of ${prepare.name}: ${textOf(act)}`, async () => {
        const video = await prepare();
        const outcome = await (async () => act(video))().then(() => 'none', ({name}) => name);
        check(outcome === wanted, outcome);
        video.src = '';
    });
});

step('which types can be played', () => {
    const types = [['video/webm', 'maybe'], ['video/webm; codecs="vp8, opus"', 'probably'],
        ['video/webm; codecs="nonsense"', ''], ['text/html', ''], ['', '']];
    types.forEach(([type, wanted]) => check(empty().canPlayType(type) === wanted, type));
});

step('how far it is when an event comes', async () => {
    const video = empty();
    const seen = [];
    ['loadstart', 'loadedmetadata', 'loadeddata', 'canplaythrough'].forEach((name) =>
        video.addEventListener(name, ({isTrusted}) => seen.push(video.readyState, isTrusted)));
    video.onloadedmetadata = () => seen.push('handler');
    await next(video, 'canplaythrough', () => load(video));
    check(seen.join() === '0,false,1,false,handler,4,false,4,false', seen.join());
});
