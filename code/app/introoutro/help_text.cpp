#include "introoutro/help_text.h"

namespace ns_introoutro {

const char* help_text() {
  return R"(introoutro: splice an intro clip, a main source and an outro clip into one video stream

Usage:
  introoutro [--intro FILE] --main FILE [--outro FILE] -o FILE [options]
  introoutro demo [-o FILE] [--preview FILE.png] [options]
  introoutro --help | --version

The output holds the intro, then every frame of the main source, then the
outro, numbered and timed as one stream. Each clip is conformed to the main
source first: to its frame rate (repeat and drop on a time grid, 24<->25
cadences, 3:2 telecine) and to its picture size (scaled). A clip of the main
source's size at the same whole-number rate (25 under 25; 29.97 under 29.97 is
converted) is copied frame for frame; a converted clip gives about its duration
at the main rate, up to a few frames short, as its last pictures are still in
the converter when it ends. Main frames pass through untouched. The output
carries the main source's header: size, rate, interlacing, aspect and chroma
siting.

Formats: YUV4MPEG2 (.y4m) streams, 8-bit 4:2:0 (C420jpeg, C420mpeg2, C420paldv,
C420) or 8-bit 4:2:2 (C422); all inputs must be of the same one. A clip that is
scaled or converted to another rate needs an even width and height. FILE may be
'-': standard input (for one input) or standard output.

Media files (mp4, mov, mkv, mxf, ...): an input that does not start as a
YUV4MPEG2 stream is read with FFmpeg's libraries, its first video stream
decoded (H.264, HEVC, ProRes, DNxHD, MPEG-2, FFV1, VP9, ...), also through '-'.
It is converted to 8-bit 4:2:0, or 4:2:2 when the main source is 4:2:2 (clips
follow the main source), keeping its exact rate, pixel aspect, field order,
colour range and chroma siting; deeper pictures are dithered to 8 bits and a
variable frame rate is made constant at its average (both said once on
standard error). Y4M and media inputs mix freely. Time codes start at the
container's start time code when it has one.
The output's extension chooses how it is written: .y4m (and '-', and a name
without one) raw YUV4MPEG2; .mp4 H.264 (libx264, crf 18, preset medium); .mov
ProRes 422 HQ; .mkv FFV1 (lossless); .mxf MPEG-2. The file keeps the main
source's rate, aspect, field order and colour tags, and the first frame's time
code.
  --vcodec NAME        another encoder (e.g. libx265, dnxhd, mpeg2video)
  --crf N              constant quality, for encoders that have it (x264, x265)
  --preset NAME        the encoder's speed preset (x264, x265)
  --bitrate RATE       a bit rate instead (e.g. 8M, 2500k)

Roles:
  --intro FILE         the bumper, played before the main source
  --main FILE          the main source (required); it sets the output format
  --outro FILE         the trailer, played after the main source
                       (give --intro, --outro or both)
  --intro-alpha FILE   a matte for the intro: a Cmono stream of the intro's
                       size and rate, one frame per intro frame; each frame
                       carries it as its "alpha" plane
  --outro-alpha FILE   the same for the outro

Options:
  -o, --output FILE    where the spliced stream goes ('-': standard output)
  --preview FILE.png   also write a contact sheet of the frames at the joins
                       (last intro, first and last main, first outro frame),
                       each labelled with its output number and time code
  --queue-frames N     frames each queue between the stages holds (default 8,
                       1 to 1024); more smooths uneven inputs, costs memory
  --plugin PATH        the filter plug-in (default: the one installed beside
                       this program, ../lib/kx_filter_video_introoutro.so)
  -q, --quiet          no progress line and no summary
  -h, --help           this text
  --version            the program's version

`introoutro demo` splices three built-in synthetic clips (an intro 1280x720 at
25 fps, a main source 1920x1080 at 29.97 fps, an outro 1280x720 at 24 fps) and
writes them to introoutro-demo.y4m in the current directory unless -o says
otherwise: a first run needs no files of your own.

While it runs, a line on standard error shows the frames written (of how many,
when the input sizes tell; "about" when a clip's rate is converted), frames per
second and the time elapsed; at the end one summary line tells the frames read
from each input, the frames written, the output's size and rate and the time.
Frames are numbered from 0, in messages and in the preview.

Exit status: 0 when every frame was written; 1 when the job failed (the message
names the file, the frame or the cause); 2 for a command line that cannot run.
A failed job removes the output file it had started, so no cut stream is left
behind.

Examples:
  introoutro --intro bumper.y4m --main show.y4m --outro trailer.y4m -o out.y4m
  introoutro --intro bumper.mp4 --main show.mov --outro trailer.mkv -o out.mp4
  introoutro --intro bumper.y4m --main show.y4m -o out.y4m --preview joins.png
  ffmpeg -i show.mp4 -f yuv4mpegpipe - |
    introoutro --intro bumper.y4m --main - -o - | ffplay -
)";
}

const char* version_text() { return "introoutro " INTROOUTRO_VERSION "\n"; }

}  // namespace ns_introoutro
