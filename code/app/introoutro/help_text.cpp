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
converted) is copied frame for frame. A converted clip is whole: it gives its
duration at the main rate, to the frame on the time grid; the 24<->25 and
telecine cadences work in groups of pictures, so a clip that ends inside a
group can come out up to half a group longer or shorter. Main frames pass
through untouched. The output carries the main source's header: size, rate,
interlacing, aspect and chroma siting.

Formats: YUV4MPEG2 (.y4m) streams, 8-bit 4:2:0 (C420jpeg, C420mpeg2, C420paldv,
C420) or 8-bit 4:2:2 (C422); all inputs must be of the same one. A clip that is
scaled or converted to another rate needs an even width and height. FILE may be
'-': standard input (for one input) or standard output.

Roles:
  --intro FILE         the bumper, played before the main source
  --main FILE          the main source (required); it sets the output format
  --outro FILE         the trailer, played after the main source
                       (give --intro, --outro or both)
  --intro-alpha FILE   a matte for the intro: a Cmono stream of the intro's
                       size and rate, one frame per intro frame; each frame
                       carries it as its "alpha" plane
  --outro-alpha FILE   the same for the outro
  --fit MODE           a clip whose display aspect (from W, H and the pixel
                       aspect A; A0:0 or none is square) differs from the main
                       source's is letterboxed or pillarboxed with black
                       borders (pad, the default), cropped to fill (crop) or
                       stretched (stretch); its matte is fitted alongside

Options:
  -o, --output FILE    where the spliced stream goes ('-': standard output)
  --preview FILE.png   also write a contact sheet of the frames at the joins
                       (last intro, first and last main, first outro frame),
                       each labelled with its output number and time code
  --matte FILE         also write the output's matte: a Cmono stream of the
                       output's size, one frame per output frame, holding a
                       clip's matte scaled to the picture (transparent in
                       --fit borders) and 255 on every other frame
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
when the input sizes tell; "about" when a size is not whole frames), frames per
second and the time elapsed; at the end one summary line tells the frames read
from each input, the frames written, the output's size and rate and the time.
Frames are numbered from 0, in messages and in the preview.

Exit status: 0 when every frame was written; 1 when the job failed (the message
names the file, the frame or the cause); 2 for a command line that cannot run.
A failed job removes the output file it had started, so no cut stream is left
behind.

Examples:
  introoutro --intro bumper.y4m --main show.y4m --outro trailer.y4m -o out.y4m
  introoutro --intro bumper.y4m --main show.y4m -o out.y4m --preview joins.png
  ffmpeg -i show.mp4 -f yuv4mpegpipe - |
    introoutro --intro bumper.y4m --main - -o - | ffplay -
)";
}

const char* version_text() { return "introoutro " INTROOUTRO_VERSION "\n"; }

}  // namespace ns_introoutro
