// A player that dies, and another one that comes.
const resumes = location.hash === '#resume';
const video = makeVideo();

step('playing', async () => {
    video.volume = 0.3;
    video.muted = true;
    video.src = '/media/short.webm';
    await video.play();
    await passes(video, 0.5);
});

step('killed', async () => {
    const noticed = resumes ? 'waiting' : 'error';
    const took = await next(video, noticed, () => ask('/player/kill'));
    check(resumes ? video.error === null : video.error.code === 2, 'the error');
    check(video.readyState === 1 && video.networkState === 1, 'its states');
    return `${took} ms until ${noticed}`;
});

step('restarted', async () => {
    const position = video.currentTime;
    check(position > 0.4, `at ${position}`);
    const took = await next(video, 'playing', async () => {
        await ask('/player/start');
        if (!resumes) {
            video.src = '/media/short.webm';
            video.play();
        }
    }, 5000);
    check(!resumes || near(video.currentTime, position, 0.3), `at ${video.currentTime}`);
    await passes(video, video.currentTime + 0.3);
    const settings = [await told('setVolume 30'), await told('setMuted 1')];
    check(settings.join() === '1,1', `its settings were told ${settings} times`);
    return `${took} ms until playing`;
});
