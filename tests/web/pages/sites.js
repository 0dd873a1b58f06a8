// A page that is left for another site's while it plays, and come back to.
const visits = 1 + Number(sessionStorage.visits || 0);
sessionStorage.visits = visits;
const video = makeVideo();

async function plays(medium, seconds) {
    check(video.readyState === 0, 'the other page\'s state');
    video.src = medium;
    await video.play();
    await passes(video, 0.4);
    check(near(video.duration, seconds, 0.1), `duration ${video.duration}`);
}

if (location.hostname === '127.0.0.2') {
    step('second site', async () => {
        await plays('/media/long.webm', 10);
        history.back();
        await delay(10000);
    });
} else if (visits === 1) {
    step('first site', async () => {
        await plays('/media/short.webm', 6);
        location.href = location.href.replace('//127.0.0.1', '//127.0.0.2');
        await delay(10000);
    });
} else {
    step('back', async () => {
        await plays('/media/short.webm', 6);
        check(await told('cancelLoad') >= 2, 'nothing was unloaded');
    });
}
