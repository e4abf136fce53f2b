#ifndef KSR_VOSK_TRAILING_TALK_H
#define KSR_VOSK_TRAILING_TALK_H

#include <cstddef>
#include <string>

namespace Vosk {

// Talk around the speaker (colleagues, a television) goes on after the
// speaker's command has ended, and the decoder hears it as more words: a
// final result taken an instant after the command can read "close window
// in" or "save file [unk]". The early end knows where the speaker's last
// loud frame was; words that lie mostly after it are not the speaker's
// (their start alone does not tell: the decoder gives the speaker's weak
// last sound to the next word). Talk that went on before the speaker began
// comes first in the same result ("close save file"), and the words that
// lie mostly before the speaker's first loud frame are the talk's.

// libvosk writes word times as decoded frames times 0.03 s. That is right
// for a model that decodes every third 10 ms frame (libvosk's default
// "--frame-subsampling-factor=3"); a model whose conf/model.conf sets
// another factor gets times that many thirds too long. The seconds of audio
// per unit of libvosk's word times, read from the model's folder (1 when
// the file or the setting is missing).
double secondsPerWordTime(const std::string& modelPath);

// The final result `json` without its last words whose middle lies at `cut`
// or later (in the result's time units), as the recognizer would have written
// it had it heard only the words before: "text" and "result" shortened,
// nothing else kept. Empty when no word goes, or when the result cannot be
// read.
std::string withoutWordsFrom(const std::string& json, double cut);

// The same, also without its first words whose middle lies before `from`
// (talk heard before the speaker began), and keeping at most `most` words.
std::string onlyWordsWithin(const std::string& json, double from, double cut,
                            std::size_t most = static_cast<std::size_t>(-1));

}  // namespace Vosk

#endif
