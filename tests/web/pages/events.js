<!doctype html>
<meta charset="utf-8">
<title>Which events come in which order</title>
<body>
<script src="steps.js"></script>
<script>
const EVENTS = ['abort', 'canplay', 'canplaythrough', 'durationchange', 'emptied', 'ended', 'error',
    'loadeddata', 'loadedmetadata', 'loadstart', 'pause', 'play', 'playing', 'progress',
    'ratechange', 'resize', 'seeked', 'seeking', 'stalled', 'suspend', 'timeupdate', 'volumechange',
    'waiting'];
const MEDIA = '/media/short.webm';
const LOADED = 'durationchange loadedmetadata loadeddata canplay canplaythrough';
const SOUGHT = 'seeking timeupdate seeked canplay canplaythrough';
const SOUGHT_IN_PLAY = 'seeking timeupdate waiting timeupdate seeked canplay playing canplaythrough';

// Left out: what tells of the reading, and the position's own ticks, which come at any time.
function normalise(events) {
    const kept = events.filter((name) => !['progress', 'resize', 'suspend'].includes(name));
    return kept.filter((name, index) => name !== 'timeupdate' ||
        ['pause', 'seeked', 'waiting', 'loadstart'].includes(kept[index + 1])).join(' ');
}

const empty = () => document.createElement('video');
const loaded = async () => {
    const video = empty();
    await next(video, 'canplaythrough', () => { video.src = MEDIA; });
    return video;
};
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
const failed = async () => {
    const video = empty();
    await next(video, 'error', () => { video.src = '/media/missing.webm'; });
    return video;
};

const play = (video) => { video.play().catch(() => {}); };
const load = (video) => { video.src = MEDIA; };

// From which state, what is done, and which events follow.
const ORDERS = [
    [empty, load, `loadstart ${LOADED}`],
    [empty, (video) => { video.autoplay = true; load(video); },
        `loadstart ${LOADED} play playing`],
    [empty, (video) => { load(video); play(video); },
        'play waiting loadstart durationchange loadedmetadata loadeddata canplay playing ' +
        'canplaythrough'],
    [empty, (video) => { video.preload = 'none'; load(video); }, 'loadstart'],
    [empty, (video) => { video.preload = 'none'; load(video); setTimeout(play, 50, video); },
        'loadstart play waiting durationchange loadedmetadata loadeddata canplay playing ' +
        'canplaythrough'],
    [empty, (video) => video.load(), ''],
    [empty, (video) => { video.src = ''; }, 'loadstart error'],
    [empty, (video) => { video.src = 'http://['; }, 'loadstart error'],
    [empty, (video) => { video.src = '/media/missing.webm'; }, 'loadstart error'],
    [empty, (video) => { video.src = '/media/noise.webm'; }, 'loadstart error'],
    [empty, (video) => { video.innerHTML = '<source src="/media/missing.webm">'; }, 'loadstart'],
    [empty, (video) => { video.innerHTML = '<source src="/media/short.webm">'; },
        `loadstart ${LOADED}`],
    [empty, (video) => { video.currentTime = 2; load(video); },
        'loadstart durationchange loadedmetadata seeking timeupdate seeked loadeddata canplay ' +
        'canplaythrough'],
    [loaded, play, 'play playing'],
    [loaded, (video) => { play(video); video.pause(); }, 'play playing timeupdate pause'],
    [loaded, (video) => { video.currentTime = 3; }, SOUGHT],
    [loaded, (video) => { video.currentTime = 3; video.currentTime = 1; }, `seeking ${SOUGHT}`],
    [loaded, (video) => { video.currentTime = 99; }, 'seeking timeupdate seeked ended'],
    [loaded, (video) => { video.volume = 0.5; video.volume = 0.5; video.muted = true; },
        'volumechange volumechange'],
    [loaded, (video) => { video.playbackRate = 1.5; video.defaultPlaybackRate = 2; },
        'ratechange ratechange'],
    [loaded, (video) => { video.removeAttribute('src'); video.load(); }, 'abort emptied'],
    [loaded, load, `abort emptied loadstart ${LOADED}`],
    [loaded, (video) => { video.removeAttribute('src'); }, ''],
    [playing, (video) => video.pause(), 'timeupdate pause'],
    [playing, play, ''],
    [playing, load, `abort emptied timeupdate loadstart ${LOADED}`],
    [playing, (video) => { video.currentTime = 3; }, SOUGHT_IN_PLAY],
    [playing, (video) => { video.currentTime = video.duration - 0.3; },
        `${SOUGHT_IN_PLAY} timeupdate pause ended`],
    [atEnd, play, 'seeking play waiting timeupdate seeked canplay playing canplaythrough'],
    [failed, play, ''],
    [failed, load, `emptied loadstart ${LOADED}`],
];

ORDERS.forEach(([prepare, act, wanted], index) => {
    const text = act.toString().replace(/^\(video\) => /, '').replace(/\s+/g, ' ');
    step(`${index + 1} ${prepare.name}: ${text}`, async () => {
        const video = await prepare();
        const events = [];
        EVENTS.forEach((name) => video.addEventListener(name, () => events.push(name)));
        act(video);
        const words = wanted.split(' ');
        await until(() => normalise(events).split(' ').length >= words.length, wanted, 2000)
            .catch(() => {});
        await delay(wanted === '' ? 100 : 30);
        check(normalise(events) === wanted, normalise(events));
        video.src = '';
    });
});

const REJECTIONS = [
    ['none', playing, (video) => { video.pause(); return video.play(); }],
    ['AbortError', empty, (video) => { load(video); const p = video.play(); video.pause(); return p; }],
    ['AbortError', empty, (video) => { load(video); const p = video.play(); load(video); return p; }],
    ['NotSupportedError', empty, (video) => { video.src = '/media/missing.webm'; return video.play(); }],
    ['NotSupportedError', failed, (video) => video.play()],
];

REJECTIONS.forEach(([wanted, prepare, act], index) => {
    step(`promise ${index + 1}: ${wanted}`, async () => {
        const video = await prepare();
        const outcome = await act(video).then(() => 'none', (error) => error.name);
        check(outcome === wanted, outcome);
        video.src = '';
    });
});

step('what the attributes refuse', () => {
    const video = empty();
    const refusals = [['volume', 1.1, 'IndexSizeError'], ['volume', NaN, 'TypeError'],
        ['currentTime', Infinity, 'TypeError'], ['playbackRate', 17, 'NotSupportedError'],
        ['srcObject', {}, 'NotSupportedError']];
    refusals.forEach(([name, value, wanted]) => {
        let outcome = 'none';
        try {
            video[name] = value;
        } catch (error) {
            outcome = error.name;
        }
        check(outcome === wanted, `${name} = ${value}: ${outcome}`);
    });
    const types = [['video/webm', 'maybe'], ['video/webm; codecs="vp8, opus"', 'probably'],
        ['video/webm; codecs="nonsense"', ''], ['text/html', ''], ['', '']];
    types.forEach(([type, wanted]) => check(video.canPlayType(type) === wanted, type));
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
</script>
