// Making and dropping code nodes through the node pool, against plain heap
// allocation of the same classes (the baseline), in the same run.
#include "testnodes.h"

#include <benchmark/benchmark.h>

#include <new>
#include <vector>

using Kenro::ValueCode;
using KenroTest::TestGroup;
using KenroTest::TestValue;

namespace {

constexpr int nodesPerRound = 1000;

void BM_HeapNodes(benchmark::State &state)
{
    std::vector<TestValue *> nodes(nodesPerRound);
    for (auto _ : state) {
        for (TestValue *&node : nodes) {
            void *memory = ::operator new(sizeof(TestValue));
            node = ::new (memory) TestValue(QString(), ValueCode::Int, QTextBlock(), nullptr, 1);
        }
        for (TestValue *node : nodes) {
            node->~TestValue();
            ::operator delete(node);
        }
    }
    state.SetItemsProcessed(state.iterations() * nodesPerRound);
}

void BM_PoolNodes(benchmark::State &state)
{
    std::vector<TestValue *> nodes(nodesPerRound);
    for (auto _ : state) {
        for (TestValue *&node : nodes)
            node = new TestValue(QString(), ValueCode::Int, QTextBlock(), nullptr, 1);
        for (TestValue *node : nodes)
            node->release();
    }
    state.SetItemsProcessed(state.iterations() * nodesPerRound);
}

// Interleaved sizes, as a parse makes groups and values together.
void BM_HeapMixed(benchmark::State &state)
{
    std::vector<Kenro::CodeNode *> nodes(nodesPerRound);
    for (auto _ : state) {
        for (int i = 0; i < nodesPerRound; ++i) {
            if (i % 8 == 0)
                nodes[i] = ::new (::operator new(sizeof(TestGroup)))
                    TestGroup(QString(), QTextBlock(), nullptr);
            else
                nodes[i] = ::new (::operator new(sizeof(TestValue)))
                    TestValue(QString(), ValueCode::Int, QTextBlock(), nullptr, i);
        }
        for (int i = 0; i < nodesPerRound; ++i) {
            if (i % 8 == 0) {
                static_cast<TestGroup *>(nodes[i])->~TestGroup();
            } else {
                static_cast<TestValue *>(nodes[i])->~TestValue();
            }
            ::operator delete(nodes[i]);
        }
    }
    state.SetItemsProcessed(state.iterations() * nodesPerRound);
}

void BM_PoolMixed(benchmark::State &state)
{
    std::vector<Kenro::CodeNode *> nodes(nodesPerRound);
    for (auto _ : state) {
        for (int i = 0; i < nodesPerRound; ++i) {
            if (i % 8 == 0)
                nodes[i] = new TestGroup(QString(), QTextBlock(), nullptr);
            else
                nodes[i] = new TestValue(QString(), ValueCode::Int, QTextBlock(), nullptr, i);
        }
        for (Kenro::CodeNode *node : nodes)
            node->release();
    }
    state.SetItemsProcessed(state.iterations() * nodesPerRound);
}

} // namespace

BENCHMARK(BM_HeapNodes);
BENCHMARK(BM_PoolNodes);
BENCHMARK(BM_HeapMixed);
BENCHMARK(BM_PoolMixed);
BENCHMARK_MAIN();
