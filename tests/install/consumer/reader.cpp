// An outside project that reads a recording: only the installed headers of the component, only its shared
// library.
#include <umlauf_io/RecordingSource.h>

int main(int argc, char** argv) {
  if (argc < 2) return 2;
  RecordingFailure failure;
  const auto recording = OpenRecording(argv[1], {}, failure);
  if (!recording || recording->SampleRate() != 2 || recording->Frames() != 3u) return 1;
  const SampleBlock block = recording->Read(10);
  return block.count == 3 && block.samples[2 * block.stride] == 4 ? 0 : 1;
}
