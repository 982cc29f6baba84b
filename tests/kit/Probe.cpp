#include <gtest/gtest.h>
#include "VirtualPanel.h"
#include "VirtualDetector.h"
#include <chrono>
#include <cstdio>
TEST(P,t){ auto n=[]{return std::chrono::steady_clock::now();}; auto d=[](auto a,auto b){return std::chrono::duration<double>(b-a).count();};
 auto a=n(); qxkit::VirtualPanel p; auto b=n(); auto f=p.flat(); auto c=n(); auto e=p.correctedFlat(); auto g=n(); auto k=p.dark(); auto h=n(); auto o=p.object(); auto q=n();
 printf("ctor %f flat %f corr %f dark %f obj %f\n",d(a,b),d(b,c),d(c,g),d(g,h),d(h,q)); }
