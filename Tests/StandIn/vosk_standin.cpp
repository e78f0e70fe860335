// A library with the functions of Vosk that the program uses, for tests: one model and one
// recogniser at a time. Files in the model's folder say what it does:
//   words        hears the next of these with every 160 samples; "|" is a pause that ends a segment
//   answer       what it answers to every question, word for word, in place of JSON with words
//   fail-model, fail-recognizer, fail-accept   makes that call fail

#include <filesystem>
#include <fstream>
#include <iterator>
#include <string>
#include <vector>

#define EXPORT extern "C" __attribute__((visibility("default")))

namespace {

constexpr int samplesPerWord = 160;

std::filesystem::path folder; // the model's
std::vector<std::string> words;
std::size_t heard = 0; // words, pauses among them
std::size_t begin = 0; // of the segment
std::string answer;
int alive = 0; // models and recognisers
int level = 0;

bool has(const char *file)
{
    return exists(folder / file);
}

/// Something to point at, or null.
void *make(bool isGood)
{
    alive += isGood ? 1 : 0;
    return isGood ? &folder : nullptr;
}

const char *say(const std::string &key)
{
    answer = "{ \"" + key + "\" : \"";
    for (std::size_t i = begin; i < heard; ++i)
        answer += words[i] == "|" ? "" : words[i] + ' ';
    answer += "\" }";
    if (has("answer"))
        std::getline(std::ifstream(folder / "answer"), answer, '\0');
    return answer.c_str();
}

} // namespace

EXPORT void vosk_set_log_level(int wanted)
{
    level = wanted;
}

EXPORT void *vosk_model_new(const char *path)
{
    folder = path;
    std::ifstream file(folder / "words");
    words.assign(std::istream_iterator<std::string>(file), {});
    return make(level == -1 && !has("fail-model"));
}

EXPORT void vosk_model_free(void *model)
{
    alive -= model ? 1 : 0;
}

EXPORT void vosk_recognizer_free(void *) __attribute__((alias("vosk_model_free")));

EXPORT void vosk_recognizer_reset(void *)
{
    heard = begin = 0;
}

EXPORT void *vosk_recognizer_new(void *, float sampleRate)
{
    vosk_recognizer_reset(nullptr);
    return make(sampleRate == 16000.0f && !has("fail-recognizer"));
}

EXPORT int vosk_recognizer_accept_waveform_s(void *, const short *samples, int count)
{
    if (has("fail-accept") || !samples)
        return -1;
    bool hasPaused = false;
    for (; count >= samplesPerWord && heard < words.size(); count -= samplesPerWord)
        hasPaused = words[heard++] == "|";
    return hasPaused ? 1 : 0;
}

EXPORT const char *vosk_recognizer_partial_result(void *)
{
    return say("partial");
}

EXPORT const char *vosk_recognizer_result(void *)
{
    say("text");
    begin = heard;
    return answer.c_str();
}

EXPORT const char *vosk_recognizer_final_result(void *)
    __attribute__((alias("vosk_recognizer_result")));

/// How many models and recognisers were not freed.
EXPORT int standin_alive()
{
    return alive;
}
