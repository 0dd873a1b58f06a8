// What a page does with a video, measured.
const video = makeVideo({width: 640, height: 360});

step('metadata', async () => {
    const took = await next(video, 'loadedmetadata', () => { video.src = '/media/short.webm'; });
    check(near(video.duration, 6, 0.1), `duration ${video.duration}`);
    check(video.videoWidth === 320 && video.videoHeight === 240, 'the size of the video');
    await until(() => video.readyState === 4, 'enough data');
    return `${took} ms`;
});

step('size', async () => {
    await until(() => told('setSize 640 360'), 'the size of the attributes', 1000);
    video.style.cssText = 'width: 400px; height: 200px';
    await until(() => told('setSize 400 200'), 'the size of the layout', 1000);
});

step('volume', async () => {
    video.volume = 0.4;
    await until(() => told('setVolume 40'), 'the volume', 1000);
});

step('mute', async () => {
    video.muted = true;
    await until(() => told('setMuted 1'), 'the mute', 1000);
});

step('pace 1', async () => {
    await video.play();
    const took = await passes(video, 0.02, 1000);
    const ratio = await pace(video);
    check(near(ratio, 1, 0.15), `pace ${ratio}`);
    return `${ratio.toFixed(3)}, moving ${took} ms after playing`;
});

step('pace 2', async () => {
    await next(video, 'timeupdate', () => { video.playbackRate = 2; });
    const ratio = await pace(video);
    check(near(ratio, 2, 0.3), `pace ${ratio}`);
    return ratio.toFixed(3);
});

step('pause', async () => {
    await next(video, 'pause', () => video.pause());
    await delay(200);
    const position = video.currentTime;
    await delay(700);
    check(video.currentTime === position, `from ${position} to ${video.currentTime}`);
});

step('seek', async () => {
    const took = await next(video, 'seeked', () => { video.currentTime = 4; });
    check(near(video.currentTime, 4, 0.3), `at ${video.currentTime}`);
    return `at ${video.currentTime} after ${took} ms`;
});

step('end', async () => {
    video.playbackRate = 4;
    await next(video, 'ended', () => video.play(), 2000);
    check(video.ended && video.paused && video.currentTime === video.duration, 'not at the end');
    check(video.played.end(video.played.length - 1) === video.duration, 'the end was not played');
});

step('replay', async () => {
    await video.play();
    check(!video.ended && video.currentTime < 1, `at ${video.currentTime}`);
    await passes(video, 0.2);
});

step('loop', async () => {
    video.loop = true;
    await next(video, 'seeking', () => { video.currentTime = video.duration - 0.5; });
    await next(video, 'seeking');
    await next(video, 'playing');
    check(video.currentTime < 2 && !video.paused, `at ${video.currentTime}`);
    await passes(video, 0.2);
});

step('unload', async () => {
    const before = await told('cancelLoad');
    video.removeAttribute('src');
    video.load();
    check(video.readyState === 0 && isNaN(video.duration), 'not empty at once');
    await until(async () => await told('cancelLoad') > before, 'cancelLoad', 1000);
});

step('error', async () => {
    await next(video, 'error', () => { video.src = '/media/missing.webm'; });
    check(video.error.code === 4 && video.networkState === 3, `code ${video.error.code}`);
    await next(video, 'canplaythrough', () => {
        video.src = '/media/short.webm';
        check(video.error === null, 'the error outlives the next load');
    });
});
