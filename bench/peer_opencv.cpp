// Peer comparison, OpenCV: cv::cvtColor on the jobs of convert_bench.cpp, cv::rotate and
// cv::flip on those of orientation_bench.cpp: single-threaded, cold caches, out of place as
// its interface works.
#include <benchmark/benchmark.h>

#include <cstring>
#include <vector>

#include "bench_common.h"
#include "vxkrn/vxkrn.h"
#include <opencv2/core.hpp>
#include <opencv2/imgproc.hpp>

namespace {

using namespace vxkrn_bench;

void opencv_job(benchmark::State &state, int src_type, int dst_type, int code) {
  cv::setNumThreads(1);
  cv::Mat src(kSide, kSide, src_type, const_cast<uint8_t *>(source_bytes().data()));
  cv::Mat dst(kSide, kSide, dst_type);
  cold_loop(
      state, static_cast<int64_t>(src.total() * src.elemSize() + dst.total() * dst.elemSize()),
      [] {}, [&] { cv::cvtColor(src, dst, code); });
}
void BM_OpenCV_24_to_Gray8(benchmark::State &s) {
  opencv_job(s, CV_8UC3, CV_8UC1, cv::COLOR_BGR2GRAY);
}
void BM_OpenCV_24_to_32(benchmark::State &s) {
  opencv_job(s, CV_8UC3, CV_8UC4, cv::COLOR_BGR2BGRA);
}
void BM_OpenCV_24_RgbToBgr(benchmark::State &s) {
  opencv_job(s, CV_8UC3, CV_8UC3, cv::COLOR_RGB2BGR);
}
void opencv_orient(benchmark::State &state, int type, bool turn) {
  cv::setNumThreads(1);
  cv::Mat src(kSide, kSide, type, const_cast<uint8_t *>(source_bytes().data()));
  cv::Mat dst(kSide, kSide, type);
  cold_loop(
      state, static_cast<int64_t>(2 * src.total() * src.elemSize()), [] {},
      [&] {
        if (turn)
          cv::rotate(src, dst, cv::ROTATE_90_CLOCKWISE);
        else
          cv::flip(src, dst, 1);
      });
}
void BM_OpenCV_Rotate90_8bit(benchmark::State &s) {
  opencv_orient(s, CV_8UC1, true);
}
void BM_OpenCV_Rotate90_24bit(benchmark::State &s) {
  opencv_orient(s, CV_8UC3, true);
}
void BM_OpenCV_Mirror_24bit(benchmark::State &s) {
  opencv_orient(s, CV_8UC3, false);
}
BENCHMARK(BM_OpenCV_Rotate90_8bit)->Unit(benchmark::kMillisecond);
BENCHMARK(BM_OpenCV_Rotate90_24bit)->Unit(benchmark::kMillisecond);
BENCHMARK(BM_OpenCV_Mirror_24bit)->Unit(benchmark::kMillisecond);
BENCHMARK(BM_OpenCV_24_to_Gray8)->Unit(benchmark::kMillisecond);
BENCHMARK(BM_OpenCV_24_to_32)->Unit(benchmark::kMillisecond);
BENCHMARK(BM_OpenCV_24_RgbToBgr)->Unit(benchmark::kMillisecond);

}  // namespace
