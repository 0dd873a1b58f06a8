// Elements made in every way, and several of them with one player.
document.write('<video id="parsed" src="/media/short.webm" muted preload="none" width="160" ' +
    'height="90"></video>');  // by the parser
const parsed = document.getElementById('parsed');
let other;

step('made by the parser', async () => {
    check(parsed.readyState === 0 && parsed.networkState === 1, 'preload none, but loading');
    check(parsed.muted && parsed.defaultMuted && parsed.paused, 'the attributes');
    check(parsed.src === new URL('/media/short.webm', location).href, `src ${parsed.src}`);
    check(parsed.currentSrc === parsed.src, `currentSrc ${parsed.currentSrc}`);
    await parsed.play();
    await passes(parsed, 0.3);
});

step('a second element waits while the first one plays', async () => {
    other = makeVideo();
    await next(other, 'suspend', () => { other.src = '/media/long.webm'; });
    check(other.readyState === 0 && other.networkState === 1, 'it loads');
    await passes(parsed, 0.6);
});

step('and takes the player when it plays', async () => {
    await Promise.all([next(parsed, 'pause'), other.play()]);
    check(parsed.paused && parsed.currentTime > 0.6 && parsed.readyState === 1, 'the first');
    check(near(other.duration, 10, 0.1) && near(parsed.duration, 6, 0.1), 'the durations');
    const position = parsed.currentTime;
    await passes(other, 0.3);
    check(parsed.currentTime === position, 'the first moved');
});

step('the first takes it back where it was', async () => {
    await next(parsed, 'seeked', () => { parsed.currentTime = 3; });
    await Promise.all([next(other, 'pause'), parsed.play()]);
    check(near(parsed.currentTime, 3, 0.3), `at ${parsed.currentTime}`);
    await passes(parsed, 3.2);
});

step('removed from the document', async () => {
    parsed.remove();
    document.body.append(parsed);
    await delay(50);
    check(!parsed.paused, 'it paused although it was put back at once');
    await next(parsed, 'pause', () => parsed.remove());
});

step('source children', async () => {
    const video = newVideo();
    const failed = [];
    video.addEventListener('error', ({target}) => failed.push(target.id), {capture: true});
    const took = await next(video, 'loadedmetadata', () => {
        video.innerHTML = `<source id="type" src="/media/a.avi" type="video/x-msvideo">
            <source id="missing" src="/media/missing.webm" type="video/webm">
            <source id="empty" src="">
            <source src="/media/short.webm" type='video/webm; codecs="vp8, vorbis"'>`;
    }, 15000);
    check(failed.join() === 'type,missing,empty', `errors of ${failed}`);
    check(video.currentSrc.endsWith('/media/short.webm'), video.currentSrc);
    return `${took} ms`;
});

step('a source that comes after all have failed', async () => {
    const video = newVideo({innerHTML: '<source src="/media/missing.webm">'});
    await next(video.firstChild, 'error');
    await until(() => video.networkState === 3, 'no source');
    await next(video, 'loadeddata', () =>
        video.insertAdjacentHTML('beforeend', '<source src="/media/short.webm">'));
});

step('audio and innerHTML, never in the document', async () => {
    const audio = new Audio('/media/long.webm');
    await audio.play();
    await passes(audio, 0.2);
    const box = document.createElement('div');
    box.innerHTML = '<video src="/media/short.webm" autoplay loop></video>';
    await next(box.firstChild, 'playing');
    check(audio.paused && box.firstChild.loop, 'the audio');
    box.firstChild.pause();
});

step('the start that is asked for before the load', async () => {
    const video = newVideo({currentTime: 2.5});
    check(video.currentTime === 2.5, 'it is not told');
    video.defaultPlaybackRate = 2;
    video.src = '/media/long.webm';
    check(video.playbackRate === 2, 'the rate');
    await next(video, 'seeked');
    check(near(video.currentTime, 2.5, 0.1), `at ${video.currentTime}`);
    check(video.seekable.length === 1 && near(video.seekable.end(0), 10, 0.1), 'seekable');
    check(video.played.length === 0, 'played');
    await until(() => video.buffered.length === 1, 'buffered');
});

step('files are not for pages from the network', async () => {
    const video = newVideo();
    await next(video, 'error', () => { video.src = 'file:///etc/hostname'; });
    check(video.error instanceof MediaError && video.error.code === 4, 'the error');
    check(await told('load file:///etc/hostname') === 0, 'the player was told');
});

step('the engine itself fetched nothing', async () => {
    const agents = (await ask('/media/agents')).trim().split('\n');
    check(agents.length > 5, 'the player fetched');
    check(!agents.some((agent) => agent.includes('WebKit')), agents.join());
});
