"""The Pygments lexer knows words by their kind, names parameters, and leaves nothing of the kernel library unread.

    pygments_lexer_test.py ROOT
"""

import pathlib
import sys
import unittest

try:
    from pygments.lexers import load_lexer_from_file
    from pygments.token import Comment, Error, Keyword, Name, Number, Operator, String, Token
except ImportError:
    print("skipped: there is no Pygments; Debian's package is python3-pygments")
    sys.exit(77)

ROOT = pathlib.Path(sys.argv.pop(1)).resolve()
LEXER = ROOT / "editors/pygments/ostra_lexer.py"

KERNEL = r"""// A comment.
#include "net.example.weights.h"
#define KERNELINPUTS \
(UInt32) count, \
(const TextureSampler_2D_RGBA_F32_LINEAR) image, \
(Block<Vector4d32>) target

inline float Weight(float distance)
{
	return distance * 0.5 + 0x10u;
}

OSTRA_PARALLEL_KERNEL(Blur, KERNELINPUTS)
{
	uint i = LinearInvocation();
	if (i < UNIFORM(count) /* over
	two lines */)
	{
		vec4 texel = FetchTexture(image, int2(int(i), 0));
		texel.min = min(texel.x, 1.0);
		groupSharedBarrier;
		sizeof(texel);
	}
}
OSTRA_PARALLEL_KERNEL_END
"""


class PygmentsLexerTest(unittest.TestCase):
    def setUp(self):
        self.lexer = load_lexer_from_file(str(LEXER), "OstraKernelLexer")
        self.tokens = list(self.lexer.get_tokens(KERNEL))

    def expect(self, text, *tokens):
        """The tokens of all pieces that read `text`, each of them once."""
        self.assertEqual(list(dict.fromkeys(token for token, piece in self.tokens if piece == text)), list(tokens), text)

    def test_words_have_the_token_of_their_kind(self):
        self.expect("uint", Keyword.Type)
        self.expect("TextureSampler_2D_RGBA_F32_LINEAR", Keyword.Type)
        self.expect("LinearInvocation", Name.Builtin)
        self.expect("FetchTexture", Name.Builtin)
        self.expect("groupSharedBarrier", Keyword.Pseudo)
        self.expect("sizeof", Keyword.Reserved)
        self.expect("if", Keyword)
        self.expect("inline", Keyword.Declaration)

    def test_names_are_told_by_where_they_stand(self):
        self.expect("Blur", Name.Function)
        self.expect("Weight", Name.Function)
        self.expect("i", Name)
        self.expect("target", Name.Variable)
        self.expect("image", Name.Variable, Name)
        self.expect("min", Name.Attribute, Name.Builtin)

    def test_comments_numbers_and_headers_are_told(self):
        self.expect("// A comment.", Comment.Single)
        self.expect("/* over\n\ttwo lines */", Comment.Multiline)
        self.expect('"net.example.weights.h"', Comment.PreprocFile)
        self.expect("#define", Comment.Preproc)
        self.expect("0.5", Number.Float)
        self.expect("0x10u", Number.Hex)
        self.expect("0", Number.Integer)
        self.expect("*", Operator)

    def test_text_comes_back_as_it_was_and_unknown_bytes_are_errors(self):
        self.assertEqual("".join(piece for _, piece in self.tokens), KERNEL)
        self.assertIn((Error, "@"), self.lexer.get_tokens("uint @ i;"))
        self.assertIn((String, '"a"'), self.lexer.get_tokens('x = "a";'))

    def test_kernels_and_stages_of_the_library_have_no_errors(self):
        files = [file for suffix in ("krn", "vert", "frag", "tsc", "tse") for file in ROOT.glob(f"kernels/**/*.{suffix}")]
        self.assertGreater(len(files), 30)
        for file in files:
            errors = [piece for token, piece in self.lexer.get_tokens(file.read_text(encoding="utf-8")) if token is Token.Error]
            self.assertEqual(errors, [], file.name)


if __name__ == "__main__":
    unittest.main()
