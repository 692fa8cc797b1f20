#include "introoutro/help_text.h"

namespace ns_introoutro {

const char* help_text() {
  return R"(introoutro: splice an intro clip, a main source and an outro clip into one video stream

Usage:
  introoutro [--intro FILE] --main FILE [--outro FILE] -o FILE [options]
  introoutro demo [-o FILE] [--preview FILE.png] [options]
  introoutro --help | --version

The output holds the whole intro, then every frame of the main source, then the
whole outro, numbered and timed as one stream. Main frames pass through
untouched; the output has the main source's size, rate, interlacing, aspect,
chroma siting and colour range, and its sound (see Sound).

Each clip is conformed to the main source. Its picture is fitted to the main
source's display aspect (--fit), using each stream's pixel aspect (a Y4M A tag;
none or A0:0 is square), then scaled to the main source's size. Its frames are
conformed to the main rate, and a clip stays whole: it lasts as long at the
main rate as it did at its own, round(duration x main rate) frames within one,
a still held for its duration included (a title card of one frame at F1:30
gives 30 seconds of output). The 24->25 and telecine cadences make frames in
groups (25 per 24 pictures, 5 per 4), so a clip that ends inside a group can
come out up to half a group longer or shorter. How the frames are made:
  - same whole-number rate (25 under 25): copied frame for frame
  - 23.976 or 24 under 25: one extra frame in every 25 is mixed from the top
    field of one picture and the bottom field of the next; on a progressive
    display it shows as a blend (combing on motion), once a second
  - 23.976 or 24 under 29.97 or 30: 3:2 telecine; two frames in every five
    are mixed from two pictures' fields, combed on a progressive display
  - 25 under 23.976 or 24: one picture in every 25 is dropped
  - any other pair (29.97 under 29.97 included): pictures repeated or dropped
    on a time grid (50 under 25 keeps every second one); none is mixed

Inputs: YUV4MPEG2 (.y4m) streams, 8-bit 4:2:0 (C420jpeg, C420mpeg2, C420paldv,
C420) or 8-bit 4:2:2 (C422), read as they are; or media files that FFmpeg's
libraries decode (mp4, mov, mkv, mxf, ...: H.264, HEVC, ProRes, DNxHD, MPEG-2,
FFV1, VP9, ...; the first video stream), converted to 8-bit 4:2:0, or 4:2:2 when
the main source is 4:2:2, keeping their exact rate, pixel aspect, field order,
colour range and chroma siting. Deeper pictures are dithered to 8 bits and a
variable frame rate is made constant at its average (both said once on
standard error). The two kinds mix freely. Time codes start at the container's
start time code when it has one. A clip that is scaled or converted to another
rate needs an even width and height. FILE may be '-': standard input (for one
input, its pictures only; an mp4 or mov whose index is at its end cannot be
read from a pipe).

Output: the name's extension chooses the container and its default encoder:
.y4m, '-' (standard output) or no extension: raw YUV4MPEG2; .mp4 H.264 (libx264,
crf 18, preset medium); .mov ProRes 422 HQ; .mkv FFV1 (lossless); .mxf MPEG-2.
The file keeps the main source's rate, pixel aspect, field order and colour
tags, and the first output frame's time code where the container stores one.

Checked before the job starts: every input's header (a frame rate above 1000
frames/s or below one frame per day, or a header line ending in CR, is
refused); that all inputs share one chroma format and one colour range
(XCOLORRANGE; none means limited); that the main source has frames (one read
from a pipe: at its end); that no file written is an input or another file
written, under any name (a link, ./), and that each can be created; that
standard output is not a terminal. A clip without frames is left out with a
warning; an interlaced clip whose field order differs from an interlaced main
source's is named in a warning. A mixed (Im) main source keeps each frame's
own I flag.

Roles:
  --intro FILE         the bumper, played before the main source
  --main FILE          the main source (required); it sets the output format
  --outro FILE         the trailer, played after the main source
                       (give --intro, --outro or both)
  --intro-alpha FILE   a matte for the intro: a Cmono stream of the intro's
                       size and rate, one frame per intro frame; each frame
                       carries it as its "alpha" plane
  --outro-alpha FILE   the same for the outro

Pictures:
  --fit pad|crop|stretch
                       how a clip of another display aspect fills the main
                       picture: pad (default) letterboxes or pillarboxes it
                       with black borders, crop fills the picture and cuts
                       what overflows, stretch fills it and distorts the shape

Output:
  -o, --output FILE    where the spliced stream goes ('-': standard output)
  --preview FILE.png   also write a contact sheet of the frames at the joins
                       (last intro, first and last main, first outro frame),
                       each labelled with its output number and time code
  --matte FILE         also write the output's alpha as a Cmono Y4M stream of
                       the main source's size, frame for frame: a clip frame's
                       matte scaled to the picture (0 in --fit borders), 255
                       where a frame has none ('-': standard output, when -o
                       is a file)
  --vcodec NAME        the video encoder instead of the container's default
  --crf N              constant quality, 0 (best) to 63, for encoders that
                       take it (H.264 default 18); not with --bitrate
  --preset NAME        the encoder's speed preset (H.264 default medium)
  --bitrate RATE       video bits per second instead of --crf (8M, 2500k)

Sound:
  Each media input's first audio stream is decoded, resampled and remixed to
  the main source's rate and channel layout (48 kHz stereo when only a clip
  has sound) and joined in step with the pictures: each piece's sound ends at
  the sample where its last picture ends (frames x frame period, on one clock,
  so joins never drift), cut or padded with silence; a clip without sound
  gives silence of its length; the main source's sound keeps its offset from
  its first picture. A media output gets it as a second stream; a Y4M output
  holds pictures only and says so once unless --audio-out or --no-audio is
  given. No input with sound: no sound. An input read from '-' gives no sound
  (a pipe cannot be read twice; said once, unless -q). Sound that cannot be
  decoded fails the job, naming the file and stream.
  --acodec NAME        the audio encoder instead of the container's default
                       (AAC for mp4, 24-bit PCM for mov and mxf, FLAC for mkv)
  --abitrate RATE      audio bits per second for lossy encoders (192k)
  --no-audio           write no sound
  --audio-out FILE.wav the sound beside a Y4M output as a 24-bit WAV file
                       (silence when no input has sound)
  --join-fade MS       fade the sound out and in over MS milliseconds at each
                       join (default 0, up to 10000), so a cut does not click
  --ignore-audio-errors
                       go on with silence for an input whose sound cannot be
                       decoded, with a warning (otherwise the job fails)

Running:
  --queue-frames N     frames each queue between the stages holds (default 8,
                       1 to 1024); more smooths uneven inputs, costs memory
  --plugin PATH        the filter plug-in (default: the one installed beside
                       this program, ../lib/kx_filter_video_introoutro.so)
  -q, --quiet          no progress line and no summary (warnings still show)
  -h, --help           this text
  --version            the program's version

`introoutro demo` splices three built-in synthetic clips (an intro 1280x720 at
25 fps, a main source 1920x1080 at 29.97 fps, an outro 1280x720 at 24 fps) and
writes them to introoutro-demo.y4m in the current directory unless -o says
otherwise: a first run needs no files of your own.

While it runs, a line on standard error shows the frames written (of how many,
when the input sizes tell; "about" when a size is not whole frames), frames per
second and the time elapsed; at the end one summary line tells the frames read
from each input, the frames written, the output's size and rate and the time.
Frames are numbered from 0, in messages and in the preview.

Interrupts: Ctrl-C (SIGINT), SIGTERM and SIGHUP stop the job within a fraction
of a second: it prints "interrupted after N frames", removes the files it was
writing (standard output is simply closed) and exits with 128 + the signal's
number (130, 143, 129). A second signal ends it at once.

Exit status: 0 when every frame was written; 1 when the job failed (the message
names the file, the frame or the cause); 2 for a command line that cannot run;
128 + the signal's number when a signal stopped it. A failed or stopped job
removes every file it had started (the output, the preview, the matte, the
sound), so no cut stream is left behind; a file it had not yet touched stays.

Examples:
  introoutro --intro bumper.y4m --main show.y4m --outro trailer.y4m -o out.y4m
  introoutro --intro bumper.mp4 --main show.mov --outro trailer.mkv -o out.mp4
  introoutro --intro card.y4m --main show.y4m -o out.y4m --fit crop \
    --preview joins.png
  ffmpeg -i show.mp4 -f yuv4mpegpipe - |
    introoutro --intro bumper.y4m --main - -o - | ffplay -
)";
}

const char* version_text() { return "introoutro " INTROOUTRO_VERSION "\n"; }

}  // namespace ns_introoutro
