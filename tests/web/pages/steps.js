// A page is a list of steps, which run one after the other. The first that fails ends it.

const steps = [];

const step = (name, run) => steps.push({name, run});

function check(holds, text) {
    if (!holds) {
        throw new Error(text);
    }
}

const near = (value, wanted, distance) => Math.abs(value - wanted) <= distance;
const delay = (ms) => new Promise((done) => setTimeout(done, ms));
const ask = (path) => fetch(path).then((answer) => answer.text());

// Resolves with the ms that it took.
async function until(holds, text, ms = 3000) {
    const start = performance.now();
    while (!await holds()) {
        check(performance.now() - start < ms, `within ${ms} ms not: ${text}`);
        await delay(5);
    }
    return Math.round(performance.now() - start);
}

// Does what causes the next event of that name, and resolves with the ms until it came.
function next(target, type, cause = () => {}, ms = 3000) {
    const start = performance.now();
    return new Promise((resolve, reject) => {
        setTimeout(() => reject(new Error(`within ${ms} ms no ${type}`)), ms);
        const came = () => resolve(Math.round(performance.now() - start));
        target.addEventListener(type, came, {once: true});
        cause();
    });
}

// Until the video has passed that position; resolves with the ms that it took.
const passes = (video, position, ms) =>
    until(() => video.currentTime > position, `a position beyond ${position}`, ms);

// The player's log lines of one command, since the start.
const told = async (text) => (await ask('/player/log')).split('\n')
    .filter((line) => line.includes(`: ${text} -> `)).length;

const newVideo = (properties) => Object.assign(document.createElement('video'), properties);

// In the document.
const makeVideo = (properties) => document.body.appendChild(newVideo(properties));

// How far the position goes in a second.
async function pace(video, ms = 1000) {
    const [time, position] = [performance.now(), video.currentTime];
    await delay(ms);
    return (video.currentTime - position) * 1000 / (performance.now() - time);
}

addEventListener('load', async () => {
    for (const {name, run} of steps) {
        try {
            const detail = await run();
            console.log(`ok ${name}${detail ? `: ${detail}` : ''}`);
        } catch (error) {
            console.log(`RESULT FAIL ${name}: ${error.message}`);
            return;
        }
    }
    if (steps.length > 0) {
        console.log(`RESULT PASS ${steps.length} steps`);
    }
});
