// A library with the functions of Vosk that the program uses, for tests: one model and one
// recogniser at a time. It hears the next word of the file "words" in the model's folder with every
// piece of sound; "|" is a pause that ends a segment, "!" a failure, and no word no model.

#include <fstream>
#include <iterator>
#include <string>
#include <vector>

#define EXPORT extern "C" __attribute__((visibility("default")))

namespace {

std::vector<std::string> words;
std::size_t heard = 0; // words, pauses among them
std::size_t begin = 0; // of the segment
std::string answer;

const char *say(const std::string &key)
{
    answer = "{ \"" + key + "\" : \"";
    for (std::size_t i = begin; i < heard; ++i)
        answer += words[i] == "|" ? "" : words[i] + ' ';
    answer += "\" }";
    return answer.c_str();
}

} // namespace

EXPORT void vosk_set_log_level(int) {}

EXPORT void *vosk_model_new(const char *path)
{
    std::ifstream file(path + std::string("/words"));
    words.assign(std::istream_iterator<std::string>(file), {});
    return words.empty() ? nullptr : new char; // so that a leak is seen
}

EXPORT void vosk_model_free(void *object)
{
    delete static_cast<char *>(object);
}

EXPORT void vosk_recognizer_free(void *) __attribute__((alias("vosk_model_free")));

EXPORT void vosk_recognizer_reset(void *)
{
    heard = begin = 0;
}

EXPORT void *vosk_recognizer_new(void *, float sampleRate)
{
    vosk_recognizer_reset(nullptr);
    return sampleRate == 16000.0f ? new char : nullptr;
}

EXPORT int vosk_recognizer_accept_waveform_s(void *, const short *, int)
{
    const std::string word = heard < words.size() ? words[heard++] : "";
    return word == "|" ? 1 : word == "!" ? -1 : 0;
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
