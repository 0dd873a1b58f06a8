// Where the media is, in seconds: what a report told, running on with the speed until the next one.

const JITTER = 0.5;      // seconds by which a report may step without a seek
const MAX_AHEAD = 2000;  // ms that the position runs on without a report

class Position {
    #time = 0;
    #at = 0;            // ms, when it was there
    #speed = 0;         // seconds per second
    #floor = 0;         // it does not go back behind this one
    #end = 0;           // the media's, seconds
    #official = null;   // what the running script sees
    #played = new Ranges();
    #playedFrom = null;  // where it began to run
    #heldAt = null;      // where it stood still

    set(time, speed, end) {
        const before = this.#running();
        this.#end = end || 0;
        const now = this.#limit(time);
        // A report is a little older than what ran on since the last one: time does not go back.
        const isJitter = speed > 0 && this.#speed > 0 && now < before && before - now < JITTER;
        if (speed === 0) {
            this.#notePlayed(Math.abs(now - before) < JITTER ? now : before);
        } else if (this.#playedFrom === null) {
            const isResumed = this.#heldAt !== null && Math.abs(this.#heldAt - now) < JITTER;
            this.#playedFrom = isResumed ? this.#heldAt : now;
        }
        this.#move(now, speed, isJitter ? before : 0);
    }

    stop() {
        this.#notePlayed(this.#running());
        this.#move(this.#running(), 0);
    }

    // What comes next does not go on from here.
    leap() {
        this.stop();
        this.#heldAt = null;
    }

    // The same for the whole of a script's turn.
    get now() {
        if (this.#official === null) {
            this.#official = this.#running();
            queueMicrotask(() => { this.#official = null; });
        }
        return this.#official;
    }

    get played() {
        return this.#playedUntil(this.#running());
    }

    #move(time, speed, floor = 0) {
        this.#time = time;
        this.#floor = floor;
        this.#at = performance.now();
        this.#speed = speed;
        this.#official = null;
    }

    #running() {
        const ahead = Math.min(performance.now() - this.#at, MAX_AHEAD);
        return this.#limit(Math.max(this.#time + ahead * this.#speed / 1000, this.#floor));
    }

    #limit(time) {
        return Math.min(Math.max(time, 0), this.#end);
    }

    #notePlayed(until) {
        if (this.#playedFrom !== null) {
            this.#played = this.#playedUntil(until);
            this.#playedFrom = null;
            this.#heldAt = until;
        }
    }

    // Whichever way it was played.
    #playedUntil(until) {
        return this.#playedFrom === null ? this.#played : this.#played.with(
            Math.min(this.#playedFrom, until), Math.max(this.#playedFrom, until));
    }
}
