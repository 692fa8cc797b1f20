#pragma once
// CFilter: a component that turns input samples into output samples. Set the input
// description, Prepare, then PutSample one input and GetSample until it reports
// kResultNoSample. Output properties exist only after a successful Prepare.

#include "orrin/api.h"
#include "orrin/object.h"
#include "orrin/result.h"

namespace Quorvane::Orrin {

template <class Sample, class Properties>
class ORRIN_API CFilter : public CObject {
public:
  // Keeps a copy of `properties` (null gives kResultInvalidArgument) and drops the
  // output description: the filter must be prepared again.
  Result SetInputProperties(const Properties* properties) {
    if (properties == nullptr) return Result(kResultInvalidArgument);
    input_.Reset(new Properties(properties));
    output_.Reset();
    return Result(kResultOk);
  }

  virtual Result Prepare() = 0;

  RObject<Properties> GetOutputProperties() const { return output_; }

  virtual Result PutSample(Sample* sample) = 0;
  // Hands over the next output in `sample`, or empties it and returns kResultNoSample.
  virtual Result GetSample(RObject<Sample>& sample) = 0;

protected:
  const Properties* GetInputProperties() const noexcept { return input_.Get(); }
  void SetOutputProperties(RObject<Properties> properties) noexcept {
    output_ = std::move(properties);
  }

private:
  RObject<Properties> input_;
  RObject<Properties> output_;
};

}  // namespace Quorvane::Orrin
