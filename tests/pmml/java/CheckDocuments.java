import java.io.File;
import java.io.StringReader;
import java.nio.charset.StandardCharsets;
import java.nio.file.Files;
import java.util.ArrayList;
import java.util.Arrays;
import java.util.LinkedHashMap;
import java.util.List;
import java.util.Map;

import javax.xml.XMLConstants;
import javax.xml.transform.stream.StreamSource;
import javax.xml.validation.Schema;
import javax.xml.validation.SchemaFactory;

import org.jpmml.evaluator.EvaluatorUtil;
import org.jpmml.evaluator.InputField;
import org.jpmml.evaluator.LoadingModelEvaluatorBuilder;
import org.jpmml.evaluator.ModelEvaluator;

/**
 * Reads the documents of a folder, validates each against the schema, lets JPMML-Evaluator run its ModelVerification and
 * score the cases beside it, and compares every number with the one that modelcore says. One process for all documents.
 *
 * <p>NAME.cases beside NAME.pmml: a line with the columns, then a line for each case, cells separated by tabs. An input
 * column is "i:NAME"; an output column "=:NAME" is compared bit by bit, "~:NAME" to 1e-12 of the number or of the scale
 * that stands behind it. Cells: "-" for nothing, "n:NUMBER" or "n:NUMBER~SCALE", "b:true", "s:TEXT" with backslash
 * escapes, "!" for outputs of a case that has to be refused or to give nothing.
 */
public class CheckDocuments {
    static final double TOLERANCE = 1e-12;
    static int failures = 0;
    static long numbers = 0, cases = 0, refused = 0;
    static double worst = 0;

    public static void main(String[] args) throws Exception {
        Schema schema = SchemaFactory.newInstance(XMLConstants.W3C_XML_SCHEMA_NS_URI).newSchema(new File(args[0]));
        int documents = 0;
        for (int i = 1; i < args.length; i++) {
            File[] files = new File(args[i]).listFiles((dir, name) -> name.endsWith(".pmml"));
            if (files == null) throw new IllegalArgumentException(args[i] + " is no folder");
            Arrays.sort(files);
            for (File file : files) {
                documents++;
                check(schema, file);
            }
        }
        System.out.printf("%d documents valid and verified, %d cases, %d of them without a prediction on either side, "
                + "%d numbers compared, largest relative difference %.2g%n", documents - failedDocuments, cases, refused,
                numbers, worst);
        System.out.printf("%d passed, %d failed%n", documents - failedDocuments, failedDocuments);
        System.exit(documents > 0 && failures == 0 ? 0 : 1);
    }

    static int failedDocuments = 0, shown = 0;

    static void check(Schema schema, File file) throws Exception {
        int before = failures;
        shown = 0;
        try {
            schema.newValidator().validate(new StreamSource(file));
            ModelEvaluator<?> evaluator = new LoadingModelEvaluatorBuilder().load(file).build();
            evaluator.verify();
            File cells = new File(file.getPath().replaceAll("pmml$", "cases"));
            if (cells.exists()) score(evaluator, cells);
        } catch (Exception e) {
            fail(file, "", describe(e));
        }
        if (failures > before) failedDocuments++;
    }

    static String describe(Throwable e) {
        StringBuilder text = new StringBuilder();
        for (Throwable t = e; t != null; t = t.getCause()) text.append(t).append("; ");
        return text.toString();
    }

    static void fail(File file, String where, String what) {
        failures++;
        if (++shown <= 3) System.out.println(file.getName() + where + ": " + what);
    }

    static void score(ModelEvaluator<?> evaluator, File file) throws Exception {
        List<String> lines = Files.readAllLines(file.toPath(), StandardCharsets.UTF_8);
        String[] header = lines.get(0).split("\t", -1);
        for (int l = 1; l < lines.size(); l++) {
            String[] cells = lines.get(l).split("\t", -1);
            cases++;
            Map<String, Object> inputs = new LinkedHashMap<>();
            for (int c = 0; c < header.length; c++)
                if (header[c].startsWith("i:")) inputs.put(unescape(header[c].substring(2)), value(cells[c]));
            Map<String, ?> results = null;
            String problem = "";
            try {
                Map<String, Object> arguments = new LinkedHashMap<>();
                for (InputField input : evaluator.getInputFields())
                    arguments.put(input.getName(), input.prepare(inputs.get(input.getName())));
                results = EvaluatorUtil.decodeAll(evaluator.evaluate(arguments));
            } catch (RuntimeException e) {
                problem = describe(e);
            }
            boolean none = false;
            for (int c = 0; c < header.length; c++) {
                if (header[c].startsWith("i:")) continue;
                String name = unescape(header[c].substring(2));
                String where = " line " + (l + 1) + ", " + name;
                // Outputs that follow from a missing prediction are left out.
                if (results != null && !results.containsKey(name) && !isMissing(evaluator, results)) {
                    fail(file, where, "no such output among " + results.keySet());
                    continue;
                }
                Object result = results == null ? null : results.get(name);
                if (result instanceof Number && Double.isNaN(((Number) result).doubleValue())) result = "NaN";
                if (cells[c].equals("!")) {
                    none = true;
                    if (result != null) fail(file, where, result + " instead of no prediction for " + inputs);
                } else if (cells[c].startsWith("n:")) {
                    compare(file, where, header[c].charAt(0) == '=', cells[c], result, problem, inputs);
                } else if (!cells[c].equals("-")) {
                    Object expected = value(cells[c]);
                    if (!expected.equals(result))
                        fail(file, where, result + " instead of " + expected + " for " + inputs + " " + problem);
                }
            }
            if (none) refused++;
        }
    }

    static boolean isMissing(ModelEvaluator<?> evaluator, Map<String, ?> results) {
        return evaluator.getTargetFields().stream().allMatch(target -> results.get(target.getName()) == null);
    }

    static void compare(File file, String where, boolean exact, String cell, Object result, String problem,
            Map<String, Object> inputs) {
        String[] parts = cell.substring(2).split("~");
        double expected = Double.parseDouble(parts[0]);
        double scale = Math.max(Math.abs(expected), parts.length > 1 ? Double.parseDouble(parts[1]) : 0);
        numbers++;
        if (!(result instanceof Number)) {
            fail(file, where, result + " instead of " + expected + " for " + inputs + " " + problem);
            return;
        }
        double actual = ((Number) result).doubleValue();
        double difference = actual == expected ? 0 : Math.abs(actual - expected) / scale;
        worst = Math.max(worst, difference);
        // A zero and a zero with a sign are one number.
        if (exact ? actual != expected : !(difference <= TOLERANCE))
            fail(file, where, actual + " instead of " + expected + " for " + inputs);
    }

    static Object value(String cell) {
        if (cell.equals("-")) return null;
        String text = cell.substring(2);
        switch (cell.charAt(0)) {
            case 'n': return Double.valueOf(text);
            case 'b': return Boolean.valueOf(text);
            default: return unescape(text);
        }
    }

    static String unescape(String text) {
        StringBuilder out = new StringBuilder();
        for (int i = 0; i < text.length(); i++) {
            char c = text.charAt(i);
            if (c == '\\') {
                c = text.charAt(++i);
                c = c == 't' ? '\t' : c == 'n' ? '\n' : c == 'r' ? '\r' : c;
            }
            out.append(c);
        }
        return out.toString();
    }
}
