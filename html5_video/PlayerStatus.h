// Public. The player's state as it was last reported.
#ifndef HTML5_VIDEO_PLAYERSTATUS_H
#define HTML5_VIDEO_PLAYERSTATUS_H

struct PlayerStatus
{
    int playTime;
    int endTime;
    int statusValue3;  // logged only
    int speed;         // hundredths of the nominal rate
    int mediaStatus;
    int videoWidth;   // pixels
    int videoHeight;  // pixels
    bool inSeek;
    unsigned long long totalBytes;
    unsigned long long currentOffset;
};

#endif  // HTML5_VIDEO_PLAYERSTATUS_H
